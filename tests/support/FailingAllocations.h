#pragma once

/// @file
/// Replaces the allocation functions of the program, so that any allocation of a library can be
/// made to fail. Include it in one source of a program only.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace Veltrix::Testing {

/// `Once`: the n-th allocation fails; `FromThere`: every one from the n-th on.
enum class Failures { Once, FromThere };

/// While it lives, allocations fail as asked for; the n-th is counted from its construction.
class FailingAllocations {
  public:
    FailingAllocations(std::int64_t nth, Failures kind) {
        attempts_ = 0;
        last_ = kind == Failures::Once ? nth : INT64_MAX;
        first_ = nth;
    }
    /// None fails: allocations are counted only.
    FailingAllocations() : FailingAllocations(INT64_MAX, Failures::Once) {}
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;
    ~FailingAllocations() { first_ = INT64_MAX; }

    /// Allocations asked for since construction.
    static std::int64_t attempts() { return attempts_; }
    /// Whether one of them failed.
    static bool failed() { return attempts_ >= first_; }
    /// Allocations of the whole program that were not given back yet.
    static std::int64_t live() { return live_; }

    [[gnu::noinline]] static void* take(std::size_t size, std::size_t alignment) noexcept {
        const std::int64_t attempt = ++attempts_;
        if (attempt >= first_ && attempt <= last_) return nullptr;
        void* memory = nullptr;
        if (posix_memalign(&memory, alignment, size) != 0) return nullptr;
        ++live_;
        return memory;
    }
    static void* takeOrThrow(std::size_t size, std::size_t alignment) {
        void* memory = take(size, alignment);
        if (memory == nullptr) throw std::bad_alloc();
        return memory;
    }
    [[gnu::noinline]] static void give(void* memory) noexcept {
        if (memory != nullptr) --live_;
        std::free(memory);
    }

  private:
    static inline std::atomic<std::int64_t> attempts_{0};
    static inline std::atomic<std::int64_t> first_{INT64_MAX};
    static inline std::atomic<std::int64_t> last_{INT64_MAX};
    static inline std::atomic<std::int64_t> live_{0};
};

/// Runs operation(copy of `object`) with the first, the second, ... allocation failing, until none
/// fails any more; then again with all later ones failing too. Every failure must come out as
/// `std::bad_alloc`, leave a copy for which same(copy, object) holds and nothing allocated, and the
/// destructor must not allocate.
template <class Object, class Operation, class Same = std::equal_to<>>
testing::AssertionResult survivesFailures(const Object& object, Operation operation,
                                          Same same = {}) {
    using Allocations = FailingAllocations;
    {
        Object first(object);  // what is made once in a program's life is made here
        operation(first);
    }
    for (const Failures kind : {Failures::Once, Failures::FromThere}) {
        bool failed = true;
        for (std::int64_t nth = 1; failed; ++nth) {
            const auto failure = [&] {
                return testing::AssertionFailure()
                       << "allocation " << nth
                       << (kind == Failures::Once ? " failed" : " and all later ones failed")
                       << ": ";
            };
            const std::int64_t before = Allocations::live();
            std::optional<Object> copy(object);
            bool thrown = false;
            try {
                const Allocations failing(nth, kind);
                try {
                    operation(*copy);
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
                failed = Allocations::failed();
            } catch (const std::exception& other) {
                return failure() << "thrown: " << other.what();
            }
            if (thrown && !failed) return failure() << "thrown without a failure";
            if (thrown && !same(*copy, object)) return failure() << "the object has changed";
            std::int64_t ofDestructor = 0;
            {
                const Allocations counting;
                copy.reset();
                ofDestructor = Allocations::attempts();
            }
            if (ofDestructor != 0) return failure() << "the destructor allocates";
            const std::int64_t leaked = Allocations::live() - before;
            if (leaked != 0) return failure() << leaked << " allocations leaked";
        }
    }
    return testing::AssertionSuccess();
}

/// Operations and what they are called.
template <class Object>
using Steps = std::vector<std::pair<const char*, std::function<void(Object&)>>>;

/// `survivesFailures` for every operation.
template <class Object, class Same = std::equal_to<>>
void surviveAll(const Object& object, const Steps<Object>& steps, Same same = {}) {
    for (const auto& [name, step] : steps) {
        EXPECT_TRUE(survivesFailures(object, step, same)) << name;
    }
}

}  // namespace Veltrix::Testing

// Every form is replaced: those of a sanitizer do not call one another.
// NOLINTBEGIN(misc-definitions-in-headers)
void* operator new(std::size_t size) {
    return Veltrix::Testing::FailingAllocations::takeOrThrow(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Veltrix::Testing::FailingAllocations::takeOrThrow(size,
                                                             static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Veltrix::Testing::FailingAllocations::take(size, alignof(std::max_align_t));
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept { Veltrix::Testing::FailingAllocations::give(memory); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { operator delete(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    operator delete(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    operator delete(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept { operator delete(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { operator delete(memory); }
// NOLINTEND(misc-definitions-in-headers)

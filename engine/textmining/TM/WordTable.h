#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrix::Engine::TM {

/// Distinct words, numbered in the order in which they come; found by their `TermHash`.
class WordTable {
  public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    /// The number of a word. One that is new becomes the last. A view that the table gave must not
    /// be passed.
    std::uint32_t intern(std::wstring_view word, std::uint64_t hash);
    /// The number of a word, or none.
    std::uint32_t find(std::wstring_view word, std::uint64_t hash) const noexcept;

    std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(entries_.size()); }
    /// Valid until the next word comes in.
    std::wstring_view operator[](std::uint32_t word) const noexcept {
        const Entry& entry = entries_[word];
        return std::wstring_view(pool_).substr(entry.start, entry.size);
    }

  private:
    struct Entry {
        std::size_t start;
        std::uint32_t size;
        std::uint32_t mark;  ///< what the place among the slots follows from
    };

    /// The slot of a word, or the free one where it belongs.
    std::size_t slotOf(std::wstring_view word, std::uint32_t mark) const noexcept;
    void grow();

    std::wstring pool_;
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> slots_;  ///< number and 1, 0 where there is none; a power of 2
};

}  // namespace Veltrix::Engine::TM

#pragma once

#include <cassert>
#include <compare>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <ranges>
#include <type_traits>

namespace Veltrix {

/// A non-owning run of elements a fixed distance apart: a row or column of a matrix across its
/// storage order (distance 1 along it). Random access; converts to the const form, never back.
/// Valid as long as the matrix it came from is neither resized nor destroyed.
template <class T>
class StridedView {
  public:
    class Iterator {
      public:
        using iterator_concept = std::random_access_iterator_tag;
        using iterator_category = std::random_access_iterator_tag;
        using value_type = std::remove_const_t<T>;
        using difference_type = std::ptrdiff_t;
        using pointer = T*;
        using reference = T&;

        Iterator() = default;
        Iterator(T* base, std::ptrdiff_t stride, std::ptrdiff_t index) noexcept
            : base_(base), stride_(stride), index_(index) {}

        T& operator*() const { return base_[index_ * stride_]; }
        T* operator->() const { return base_ + index_ * stride_; }
        T& operator[](std::ptrdiff_t n) const { return base_[(index_ + n) * stride_]; }
        Iterator& operator++() {
            ++index_;
            return *this;
        }
        Iterator operator++(int) {
            Iterator old = *this;
            ++index_;
            return old;
        }
        Iterator& operator--() {
            --index_;
            return *this;
        }
        Iterator operator--(int) {
            Iterator old = *this;
            --index_;
            return old;
        }
        Iterator& operator+=(std::ptrdiff_t n) {
            index_ += n;
            return *this;
        }
        Iterator& operator-=(std::ptrdiff_t n) {
            index_ -= n;
            return *this;
        }
        friend Iterator operator+(Iterator i, std::ptrdiff_t n) { return i += n; }
        friend Iterator operator+(std::ptrdiff_t n, Iterator i) { return i += n; }
        friend Iterator operator-(Iterator i, std::ptrdiff_t n) { return i -= n; }
        friend std::ptrdiff_t operator-(const Iterator& a, const Iterator& b) {
            return a.index_ - b.index_;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) {
            return a.index_ == b.index_;
        }
        friend std::strong_ordering operator<=>(const Iterator& a, const Iterator& b) {
            return a.index_ <=> b.index_;
        }

      private:
        T* base_ = nullptr;
        std::ptrdiff_t stride_ = 1;
        std::ptrdiff_t index_ = 0;
    };

    StridedView() = default;
    StridedView(T* base, std::size_t size, std::ptrdiff_t stride) noexcept
        : base_(base), size_(size), stride_(stride) {}
    template <class U>
    requires(std::is_const_v<T>&& std::is_same_v<const U, T>)
        StridedView(const StridedView<U>& other)
    noexcept  // NOLINT(google-explicit-constructor)
        : base_(other.data()), size_(other.size()), stride_(other.stride()) {}

    T* data() const noexcept { return base_; }
    [[nodiscard]] std::size_t size() const noexcept { return size_; }
    [[nodiscard]] std::ptrdiff_t stride() const noexcept { return stride_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] bool contiguous() const noexcept { return stride_ == 1; }
    template <std::integral Index>
    T& operator[](Index index) const {
        assert(static_cast<std::size_t>(index) < size_);
        return base_[static_cast<std::ptrdiff_t>(index) * stride_];
    }
    Iterator begin() const noexcept { return {base_, stride_, 0}; }
    Iterator end() const noexcept { return {base_, stride_, static_cast<std::ptrdiff_t>(size_)}; }

  private:
    T* base_ = nullptr;
    std::size_t size_ = 0;
    std::ptrdiff_t stride_ = 1;
};

}  // namespace Veltrix

template <class T>
inline constexpr bool std::ranges::enable_view<Veltrix::StridedView<T>> = true;
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<Veltrix::StridedView<T>> = true;

#pragma once

#include <cassert>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// A growable sequence of `WString`: column names, class labels, category levels.
class VELTRIX_DATA_API StringVector {
  public:
    using value_type = WString;

    StringVector() = default;
    explicit StringVector(std::uint64_t size) : values_(size) {}
    StringVector(std::uint64_t size, const WString& value) : values_(size, value) {}
    StringVector(std::initializer_list<WString> values) : values_(values) {}

    std::uint64_t size() const noexcept { return values_.size(); }
    bool empty() const noexcept { return values_.empty(); }
    WString& operator[](std::uint64_t index) {
        assert(index < size());
        return values_[index];
    }
    const WString& operator[](std::uint64_t index) const {
        assert(index < size());
        return values_[index];
    }
    /// Throws `Exception` when `index` is not below `size()`.
    WString& at(std::uint64_t index);
    const WString& at(std::uint64_t index) const;
    void push_back(WString value) { values_.push_back(std::move(value)); }
    void reserve(std::uint64_t capacity) { values_.reserve(capacity); }
    void resize(std::uint64_t size) { values_.resize(size); }
    void clear() noexcept { values_.clear(); }

    WString* begin() noexcept { return values_.data(); }
    WString* end() noexcept { return values_.data() + values_.size(); }
    const WString* begin() const noexcept { return values_.data(); }
    const WString* end() const noexcept { return values_.data() + values_.size(); }

    friend bool operator==(const StringVector& a, const StringVector& b) {
        return a.values_ == b.values_;
    }

  private:
    std::vector<WString> values_;
};

inline WString* begin(StringVector& v) noexcept { return v.begin(); }
inline WString* end(StringVector& v) noexcept { return v.end(); }
inline const WString* begin(const StringVector& v) noexcept { return v.begin(); }
inline const WString* end(const StringVector& v) noexcept { return v.end(); }

}  // namespace Veltrix

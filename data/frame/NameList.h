#pragma once

#include <cstdint>
#include <set>
#include <unordered_map>
#include <utility>

#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"

/// @file
/// How a frame keeps the names of its rows or columns.

namespace Veltrix::Storage {

/// A list of names in which the first place of a name is found in constant time. Adding a name and
/// renaming take constant and logarithmic time, however many share a name. An operation that fails
/// leaves the list as it was.
class NameList {
  public:
    NameList() = default;
    explicit NameList(const StringVector& names) { append(names); }

    const StringVector& names() const noexcept { return names_; }
    bool empty() const noexcept { return names_.empty(); }
    const WString& operator[](int place) const { return names_[static_cast<std::uint64_t>(place)]; }
    /// The first place of the name, -1 when there is none.
    int find(const WString& name) const;
    void append(WString name);
    /// Adds all names of the list, which may be this one's.
    void append(const StringVector& names);
    void rename(int place, const WString& name);

  private:
    void learnFurther();
    void note(const WString& name, int place);
    void forget(const WString& name, int place) noexcept;
    void truncate(std::uint64_t size) noexcept;

    StringVector names_;
    std::unordered_map<WString, int> first_;
    /// Places behind the first one of a name; kept from the first renaming on.
    std::unordered_map<WString, std::set<int>> further_;
    bool furtherKnown_ = false;
};

}  // namespace Veltrix::Storage

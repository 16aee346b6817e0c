#include "data/frame/NameList.h"

#include <algorithm>
#include <utility>

namespace Veltrix::Storage {

int NameList::find(const WString& name) const {
    const auto found = first_.find(name);
    return found == first_.end() ? -1 : found->second;
}

void NameList::append(WString name) {
    const std::uint64_t place = names_.size();
    names_.push_back(std::move(name));
    try {
        note(names_[place], static_cast<int>(place));
    } catch (...) {
        names_.resize(place);
        throw;
    }
}

void NameList::append(const StringVector& names) {
    const std::uint64_t before = names_.size();
    const std::uint64_t count = names.size();
    try {
        for (std::uint64_t k = 0; k < count; ++k) append(names[k]);
    } catch (...) {
        truncate(before);
        throw;
    }
}

void NameList::rename(int place, const WString& name) {
    WString& target = names_[static_cast<std::uint64_t>(place)];
    if (target == name) return;
    learnFurther();
    WString newName = name;
    note(newName, place);
    // Nothing from here on can fail.
    forget(target, place);
    target = std::move(newName);
}

void NameList::learnFurther() {
    if (furtherKnown_) return;
    std::unordered_map<WString, std::set<int>> further;
    if (first_.size() != names_.size()) {
        int place = 0;
        for (const WString& name : names_) {
            if (first_.at(name) != place) further[name].emplace_hint(further[name].end(), place);
            ++place;
        }
    }
    further_ = std::move(further);
    furtherKnown_ = true;
}

/// Adds a place of a name.
void NameList::note(const WString& name, int place) {
    const auto [known, added] = first_.try_emplace(name, place);
    // Until places behind the first are kept, names are only added at the end.
    if (added || !furtherKnown_) return;
    further_[name].insert(std::max(known->second, place));
    known->second = std::min(known->second, place);
}

/// Takes a place of a name out; the next one, if any, becomes the first.
void NameList::forget(const WString& name, int place) noexcept {
    const auto known = first_.find(name);
    const auto others = further_.find(name);
    if (known->second != place) {
        if (others != further_.end()) others->second.erase(place);
    } else if (others == further_.end() || others->second.empty()) {
        first_.erase(known);
    } else {
        known->second = *others->second.begin();
        others->second.erase(others->second.begin());
    }
}

void NameList::truncate(std::uint64_t size) noexcept {
    while (names_.size() > size) {
        const std::uint64_t last = names_.size() - 1;
        forget(names_[last], static_cast<int>(last));
        names_.resize(last);
    }
}

}  // namespace Veltrix::Storage

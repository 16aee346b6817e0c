#include "engine/textmining/TM/WordTable.h"

#include <utility>

#include "engine/core/Checks.h"

namespace Veltrix::Engine::TM {
namespace {

/// Bits that depend on the whole hash.
std::uint32_t markOf(std::uint64_t hash) {
    constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15U;
    return static_cast<std::uint32_t>((hash * kGolden) >> 32U);
}

/// Words are short: a call would cost more than the comparisons.
bool isSame(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i]) return false;
    }
    return true;
}

}  // namespace

std::uint32_t WordTable::intern(std::wstring_view word, std::uint64_t hash) {
    // Half of the slots stay free.
    if (2 * entries_.size() >= slots_.size()) grow();
    const std::uint32_t mark = markOf(hash);
    const std::size_t slot = slotOf(word, mark);
    if (slots_[slot] != 0) return slots_[slot] - 1;
    if (entries_.size() >= kNone - 1 || word.size() >= kNone) {
        Checks::fail(ErrorCode::tooLarge, "Text mining", "more or longer words than can be told");
    }
    const std::size_t start = pool_.size();
    pool_.append(word);
    entries_.push_back({start, static_cast<std::uint32_t>(word.size()), mark});
    slots_[slot] = size();
    return size() - 1;
}

std::uint32_t WordTable::find(std::wstring_view word, std::uint64_t hash) const noexcept {
    if (slots_.empty()) return kNone;
    // A free slot holds 0, which becomes none.
    return slots_[slotOf(word, markOf(hash))] - 1;
}

std::size_t WordTable::slotOf(std::wstring_view word, std::uint32_t mark) const noexcept {
    const std::size_t last = slots_.size() - 1;
    std::size_t slot = mark & last;
    while (slots_[slot] != 0) {
        const std::uint32_t number = slots_[slot] - 1;
        if (entries_[number].mark == mark && isSame((*this)[number], word)) break;
        slot = (slot + 1) & last;
    }
    return slot;
}

void WordTable::grow() {
    constexpr std::size_t kFirst = 1024;
    std::vector<std::uint32_t> slots(slots_.empty() ? kFirst : 2 * slots_.size());
    for (std::uint32_t number = 0; number < size(); ++number) {
        std::size_t slot = entries_[number].mark & (slots.size() - 1);
        while (slots[slot] != 0) slot = (slot + 1) & (slots.size() - 1);
        slots[slot] = number + 1;
    }
    slots_ = std::move(slots);
}

}  // namespace Veltrix::Engine::TM

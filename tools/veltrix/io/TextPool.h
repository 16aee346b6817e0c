#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace Veltrix::Tool {

/// Distinct texts numbered in the order in which they came. The bytes lie in large blocks and the
/// look-up table is one array, so that a column in which every cell is another text costs no
/// allocation each.
class TextPool {
  public:
    /// The number of `text`, which is added when it is new.
    int add(std::string_view text) {
        if (2 * texts_.size() >= slots_.size()) grow();
        const auto hash = static_cast<std::uint32_t>(std::hash<std::string_view>{}(text));
        Slot& slot = find(text, hash);
        if (slot.number == kFree) {
            slot = {hash, static_cast<int>(texts_.size())};
            texts_.push_back(keep(text));
        }
        return slot.number;
    }

    const std::vector<std::string_view>& texts() const { return texts_; }

  private:
    static constexpr std::size_t kBlockSize = 1U << 16U;
    static constexpr std::size_t kFewestSlots = 64;
    static constexpr int kFree = -1;

    struct Slot {
        std::uint32_t hash = 0;
        int number = kFree;
    };

    /// The slot of a text, or the free one where it belongs: the first from its hash on.
    Slot& find(std::string_view text, std::uint32_t hash) {
        const std::size_t mask = slots_.size() - 1;
        std::size_t place = hash & mask;
        while (slots_[place].number != kFree &&
               (slots_[place].hash != hash ||
                texts_[static_cast<std::size_t>(slots_[place].number)] != text)) {
            place = (place + 1) & mask;
        }
        return slots_[place];
    }

    /// Twice the slots, a power of two, at most half of which are taken.
    void grow() {
        std::vector<Slot> old(std::max(kFewestSlots, 2 * slots_.size()));
        old.swap(slots_);
        const std::size_t mask = slots_.size() - 1;
        for (const Slot& slot : old) {
            if (slot.number == kFree) continue;
            std::size_t place = slot.hash & mask;
            while (slots_[place].number != kFree) place = (place + 1) & mask;
            slots_[place] = slot;
        }
    }

    std::string_view keep(std::string_view text) {
        if (free_ < text.size()) {
            free_ = std::max(kBlockSize, text.size());
            blocks_.push_back(std::make_unique<char[]>(free_));
            next_ = blocks_.back().get();
        }
        char* place = next_;
        std::copy(text.begin(), text.end(), place);
        next_ += text.size();
        free_ -= text.size();
        return {place, text.size()};
    }

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    std::size_t free_ = 0;
    std::vector<std::string_view> texts_;
    std::vector<Slot> slots_;
};

}  // namespace Veltrix::Tool

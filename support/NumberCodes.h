#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace Veltrix::Support {

/// Gives distinct numbers the codes 0, 1, … in the order of their coming. Numbers are the same when
/// their bits are, so that -0 is another one than 0; all NaN are one number.
class NumberCodes {
  public:
    /// The code of a number, -1 when it has none.
    int find(double number) const {
        if (slots_.empty()) return -1;
        return slots_[place(bitsOf(number))].code;
    }
    /// The code of a number, which gets the next one when it has none.
    int findOrAdd(double number) {
        if (2 * count_ >= slots_.size()) grow();
        const std::uint64_t bits = bitsOf(number);
        Slot& slot = slots_[place(bits)];
        if (slot.code < 0) slot = {bits, static_cast<int>(count_++)};
        return slot.code;
    }
    std::size_t size() const { return count_; }

  private:
    struct Slot {
        std::uint64_t bits = 0;
        int code = -1;
    };

    static std::uint64_t bitsOf(double number) {
        return std::bit_cast<std::uint64_t>(
            std::isnan(number) ? std::numeric_limits<double>::quiet_NaN() : number);
    }
    /// Where the number is, or where it belongs; half of the slots are free.
    std::size_t place(std::uint64_t bits) const {
        constexpr std::uint64_t kGoldenSection = 0x9E3779B97F4A7C15U;  // of 2^64
        std::size_t k = ((bits ^ bits >> 32U) * kGoldenSection) >> shift_;
        while (slots_[k].code >= 0 && slots_[k].bits != bits) k = (k + 1) & (slots_.size() - 1);
        return k;
    }
    void grow() {
        NumberCodes larger;
        larger.slots_.resize(slots_.empty() ? 16 : 2 * slots_.size());
        larger.shift_ = static_cast<unsigned>(64 - std::bit_width(larger.slots_.size() - 1));
        for (const Slot& slot : slots_) {
            if (slot.code >= 0) larger.slots_[larger.place(slot.bits)] = slot;
        }
        slots_ = std::move(larger.slots_);
        shift_ = larger.shift_;
    }

    std::vector<Slot> slots_;  ///< a power of 2
    std::size_t count_ = 0;
    unsigned shift_ = 0;
};

}  // namespace Veltrix::Support

#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "Veltrix/Data/Vector.h"
#include "support/kernels/Arrays.h"

namespace Veltrix::Engine::HC {

/// Numbers, none of them NaN, that say where their smallest stands. They are looked at block by
/// block, and again only in blocks that have changed.
class Bounds {
  public:
    explicit Bounds(Vector values) : values_(std::move(values)) { resize(values_.size()); }

    double operator[](std::int64_t place) const { return values_.data()[place]; }
    void set(std::int64_t place, double value) {
        values_.data()[place] = value;
        changed_[static_cast<std::size_t>(place / kBlock)] = true;
    }
    /// Keeps the first ones.
    void resize(std::uint64_t count) {
        values_.resize(count);
        changed_.assign((count + kBlock - 1) / kBlock, true);
        least_.resize(changed_.size());
    }

    /// The first place of the smallest number, or of the smallest but that at `except`.
    std::int64_t placeOfLeast(std::int64_t except = -1) {
        const double kept = except < 0 ? 0.0 : values_.data()[except];
        if (except >= 0) set(except, std::numeric_limits<double>::infinity());
        for (std::size_t b = 0; b < changed_.size(); ++b) {
            if (!changed_[b]) continue;
            least_.data()[b] = Kernels::arrays().smallest(blockSize(b), block(b));
            changed_[b] = false;
        }
        const auto best = static_cast<std::size_t>(std::min_element(least_.begin(), least_.end()) -
                                                   least_.begin());
        const double* const first = block(best);
        const double* const found = std::find(first, first + blockSize(best), least_.data()[best]);
        if (except >= 0) set(except, kept);
        return found - values_.data();
    }

  private:
    static constexpr std::int64_t kBlock = 64;

    const double* block(std::size_t b) const {
        return values_.data() + static_cast<std::int64_t>(b) * kBlock;
    }
    std::int64_t blockSize(std::size_t b) const {
        return std::min(kBlock, static_cast<std::int64_t>(values_.size()) -
                                    static_cast<std::int64_t>(b) * kBlock);
    }

    Vector values_;
    Vector least_;               // of every block
    std::vector<char> changed_;  // blocks whose least is not known
};

}  // namespace Veltrix::Engine::HC

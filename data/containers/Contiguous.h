#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Veltrix/Data/StridedView.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix {

/// The elements of a view side by side: where they are when they already are, otherwise a copy.
class Contiguous {
  public:
    explicit Contiguous(StridedView<const double> view)
        : size_(static_cast<std::int64_t>(view.size())), values_(view.data()) {
        if (view.contiguous()) return;
        double* copy = few_.data();
        if (view.size() > few_.size()) {
            many_ = Vector(view.size(), Storage::kUnfilled);
            copy = many_.data();
        }
        std::copy(view.begin(), view.end(), copy);
        values_ = copy;
    }
    Contiguous(const Contiguous&) = delete;
    Contiguous& operator=(const Contiguous&) = delete;

    std::int64_t size() const noexcept { return size_; }
    const double* data() const noexcept { return values_; }

  private:
    std::int64_t size_;
    const double* values_;
    std::array<double, 32> few_;
    Vector many_;
};

}  // namespace Veltrix

#include "engine/supervised/DT/NumberTarget.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/kernels/Arrays.h"

namespace Veltrix::Engine::DT {

class NumberTarget::Sides {
  public:
    explicit Sides(const NumberTarget& target) : target_(target) {}
    void move(std::uint32_t record) { sum_ += target_.deviation(record); }
    bool exceeds(std::size_t numLeft, std::size_t numRight, double limit) const {
        return sum_ * sum_ > limit * (static_cast<double>(numLeft) * static_cast<double>(numRight));
    }
    double score(std::size_t numLeft, std::size_t numRight) const {
        return sum_ * sum_ / (static_cast<double>(numLeft) * static_cast<double>(numRight));
    }

  private:
    const NumberTarget target_;  // a copy, which stays in registers
    double sum_ = 0.0;
};

NumberTarget::Centre NumberTarget::centreOf(std::span<const std::int32_t> records) const {
    Centre centre{valueOf(records.front()), 0.0};
    Kernels::CompensatedSum sum;
    for (const std::int32_t record : records) sum.add(valueOf(record) - centre.value);
    centre.offset = sum.mean(static_cast<std::int64_t>(records.size()));
    return centre;
}

void NumberTarget::label(Node& node, std::span<const std::int32_t> records,
                         TrainingRecord& /*training*/) const {
    const Centre centre = centreOf(records);
    node.label = centre.value + centre.offset;
    Kernels::CompensatedSum squares;
    for (const std::int32_t record : records) {
        const double deviation = (valueOf(record) - centre.value) - centre.offset;
        squares.add(deviation * deviation);
    }
    node.risk = squares.total() / static_cast<double>(y_.size());
}

double NumberTarget::begin(const Node& /*node*/, std::span<const std::int32_t> records,
                           const TrainingRecord& /*training*/) {
    centre_ = centreOf(records);
    double largest = 0.0;
    for (const std::int32_t record : records) {
        largest = std::max(largest, std::fabs(valueOf(record)));
    }
    // What the rounding of n values alone can give, if all of it gathers on one record's side.
    const double rounding = 8.0 * std::numeric_limits<double>::epsilon() * largest;
    return rounding * rounding * static_cast<double>(records.size());
}

void NumberTarget::sweep(std::span<const SortedColumns::Entry> entries, const SplitData& data,
                         int column, Split& best) const {
    sweepThresholds(*this, Sides(*this), entries, data, column, best);
}

double NumberTarget::score(const double* left, const double* right) {
    return left[1] * left[1] / (left[0] * right[0]);
}

}  // namespace Veltrix::Engine::DT

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <string>
#include <type_traits>
#include <vector>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Sampling.h"
#include "engine/core/SamplingChecks.h"

namespace Veltrix::Engine::Sampling {
namespace {

using Strata = std::vector<IntVector>;

/// By value, NaN last.
struct NaNLast {
    bool operator()(double a, double b) const { return std::isnan(b) ? !std::isnan(a) : a < b; }
};

Strata groupByText(const ConstDataFrameColumn& column) {
    IntVector codes;
    Strata strata(column.getLevels(codes).size());
    for (std::uint64_t row = 0; row < codes.size(); ++row) {
        strata[static_cast<std::size_t>(codes[row])].push_back(static_cast<int>(row));
    }
    return strata;
}

Strata groupByNumber(const ConstDataFrameColumn& column) {
    const Vector values = column.toDoubleVector();
    std::map<double, IntVector, NaNLast> rowsOf;
    for (std::uint64_t row = 0; row < values.size(); ++row) {
        rowsOf[values[row]].push_back(static_cast<int>(row));
    }
    Strata strata;
    strata.reserve(rowsOf.size());
    for (auto& [value, rows] : rowsOf) strata.push_back(std::move(rows));
    return strata;
}

/// The rows of every stratum, ascending, the strata in ascending order of their value.
Strata groupRows(const ConstDataFrameColumn& column) {
    return column.getKind() == ColumnKind::text ? groupByText(column) : groupByNumber(column);
}

/// Shares of n in proportion to the strata's sizes. Whole numbers throughout, so that equal
/// fractional parts are seen as equal.
std::vector<int> allocateProportionally(const Strata& strata, int sampleSize, int numRows) {
    std::vector<int> allocation;
    std::vector<std::int64_t> remainders;
    std::int64_t shortfall = sampleSize;
    for (const IntVector& rows : strata) {
        const std::int64_t product =
            std::int64_t{sampleSize} * static_cast<std::int64_t>(rows.size());
        allocation.push_back(static_cast<int>(product / numRows));
        remainders.push_back(product % numRows);
        shortfall -= allocation.back();
    }
    std::vector<std::size_t> order(strata.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&remainders](std::size_t a, std::size_t b) {
        return remainders[a] > remainders[b];
    });
    for (std::size_t i = 0; i < static_cast<std::size_t>(shortfall); ++i) ++allocation[order[i]];
    return allocation;
}

}  // namespace

StratifiedSRS::~StratifiedSRS() = default;

StratifiedSRS& StratifiedSRS::setData(const DataFrame& data) {
    data_ = data;
    return *this;
}

StratifiedSRS& StratifiedSRS::setSeed(std::uint32_t seed) noexcept {
    seed_ = seed;
    return *this;
}

StratifiedSRS& StratifiedSRS::setSampleSize(int sampleSize) {
    sampleSize_ = Checks::count("Stratified sample", "records to draw", sampleSize);
    return *this;
}

StratifiedSRS& StratifiedSRS::setAllocationMode(int mode) noexcept {
    mode_ = mode;
    return *this;
}

StratifiedSRS& StratifiedSRS::setStratumSize(int stratumSize) {
    stratumSize_ = Checks::count("Stratified sample", "records per stratum", stratumSize);
    return *this;
}

StratifiedSRS& StratifiedSRS::setRandomIndex(bool randomIndex) noexcept {
    randomIndex_ = randomIndex;
    return *this;
}

StratifiedSRS& StratifiedSRS::setDelta(double delta) {
    delta_ = Checks::failureProbability(delta);
    return *this;
}

IntVector StratifiedSRS::sample() {
    const int numRows = data_.getNumRows();
    const bool proportional = mode_ == kProportional;
    if (numRows == 0 && proportional && sampleSize_ > 0) {
        Checks::fail(ErrorCode::invalidArgument, "Stratified sample",
                     "data with at least one row expected to draw " + std::to_string(sampleSize_) +
                         " rows from, found none");
    }
    IntVector result;
    if (numRows > 0) {
        const Strata strata = groupRows(data_(Veltrix::Util::all, 0));
        const std::vector<int> allocation =
            proportional ? allocateProportionally(strata, sampleSize_, numRows)
                         : std::vector<int>(strata.size(), stratumSize_);
        ProgressPhase phase("Drawing from the strata", strata.size());
        for (std::size_t h = 0; h < strata.size(); ++h) {
            ScalableSRS sampler(static_cast<int>(strata[h].size()), allocation[h]);
            sampler.setSeed(seed_).setRandomIndex(randomIndex_).setDelta(delta_);
            for (const int position : sampler.sample()) {
                result.push_back(strata[h][static_cast<std::uint64_t>(position)]);
            }
            phase.advance();
        }
    }
    sample_ = IntVector(result);
    return result;
}

static_assert(std::is_nothrow_move_constructible_v<StratifiedSRS>);

}  // namespace Veltrix::Engine::Sampling

#include <algorithm>
#include <cmath>
#include <numeric>
#include <type_traits>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/FeatureSelection.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine::LinearModel::FeatureSelection {
namespace {

constexpr const char* kOperation = "Selection history";

double& at(Vector& row, int j) {
    Checks::index(kOperation, "column", j, static_cast<std::int64_t>(row.size()));
    return row[static_cast<std::uint64_t>(j)];
}

/// The entries at these positions; an empty list stays empty.
Vector picked(const Vector& values, const IntVector& places) {
    return values.empty() ? Vector() : Veltrix::Util::select(values, places);
}

}  // namespace

History::History(bool intercept, int numRecords, int numPredictors)
    : intercept_(intercept),
      numRecords_(numRecords),
      numPredictors_(numPredictors),
      subsets_(0, numPredictors) {}

History::~History() = default;

Vector History::lastModel() const {
    Vector row(static_cast<std::uint64_t>(numPredictors_), 0.0);
    const int last = subsets_.getNumRows() - 1;
    for (int j = 0; last >= 0 && j < numPredictors_; ++j) {
        row[static_cast<std::uint64_t>(j)] = subsets_(last, j);
    }
    return row;
}

void History::record(const Vector& row, int size, double statistic) {
    sizes_.reserve(sizes_.size() + 1);
    statistics_.reserve(statistics_.size() + 1);
    subsets_.appendRow(row);
    sizes_.push_back(size);
    statistics_.push_back(statistic);
}

void History::addVariable(int j, double statistic) {
    Vector row = lastModel();
    at(row, j) = 1.0;
    record(row, sizes_.empty() ? 1 : sizes_[sizes_.size() - 1] + 1, statistic);
}

void History::removeVariable(int j, double statistic) {
    Vector row = lastModel();
    at(row, j) = 0.0;
    record(row, sizes_.empty() ? -1 : sizes_[sizes_.size() - 1] - 1, statistic);
}

void History::recordSubset(const IntVector& columns, double statistic) {
    Vector row(static_cast<std::uint64_t>(numPredictors_), 0.0);
    for (const int j : columns) at(row, j) = 1.0;
    record(row, static_cast<int>(columns.size()), statistic);
}

void History::recordFullModel(double statistic) {
    record(Vector(static_cast<std::uint64_t>(numPredictors_), 1.0), numPredictors_, statistic);
}

void History::filterSubsets(int k) {
    Checks::atLeast(kOperation, "subsets of a size", k, 0);
    IntVector order = Veltrix::Util::range(0, getNumModels());
    const auto size = [&](int model) { return sizes_[static_cast<std::uint64_t>(model)]; };
    const auto statistic = [&](int model) {
        return statistics_[static_cast<std::uint64_t>(model)];
    };
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        if (size(a) != size(b)) return size(a) < size(b);
        if (std::isnan(statistic(a)) || std::isnan(statistic(b))) {
            return !std::isnan(statistic(a)) && std::isnan(statistic(b));
        }
        return statistic(a) < statistic(b);
    });
    IntVector kept;
    int taken = 0;
    for (std::uint64_t i = 0; i < order.size(); ++i) {
        if (i == 0 || size(order[i]) != size(order[i - 1])) taken = 0;
        if (taken++ < k) kept.push_back(order[i]);
    }
    History result(intercept_, numRecords_, numPredictors_);
    result.subsets_ = subsets_(kept, Veltrix::Util::all);
    for (const int model : kept) result.sizes_.push_back(size(model));
    result.statistics_ = Veltrix::Util::select(statistics_, kept);
    const ModelStatistics& all = modelStatistics_;
    result.modelStatistics_ = {picked(all.residualSumOfSquares, kept),
                               picked(all.cp, kept),
                               picked(all.R2, kept),
                               picked(all.adjustedR2, kept),
                               picked(all.probability, kept),
                               picked(all.aic, kept),
                               picked(all.bic, kept),
                               picked(all.deviance, kept),
                               picked(all.pseudoR2, kept)};
    *this = std::move(result);
}

IntVector History::getColumns(int model) const {
    Checks::index(kOperation, "model", model, getNumModels());
    IntVector columns;
    for (int j = 0; j < numPredictors_; ++j) {
        if (subsets_(model, j) != 0.0) columns.push_back(j);
    }
    return columns;
}

History History::spread(const IntVector& columns, int numPredictors) const {
    Checks::onePerRecord(kOperation, "columns", columns.size(), numPredictors_);
    History result(intercept_, numRecords_, numPredictors);
    result.subsets_ = Matrix(getNumModels(), numPredictors);
    for (int k = 0; k < numPredictors_; ++k) {
        const int j = columns[static_cast<std::uint64_t>(k)];
        Checks::index(kOperation, "column", j, numPredictors);
        result.subsets_(Veltrix::Util::all, j) = subsets_(Veltrix::Util::all, k);
    }
    result.sizes_ = sizes_;
    result.statistics_ = statistics_;
    result.modelStatistics_ = modelStatistics_;
    return result;
}

static_assert(std::is_nothrow_move_constructible_v<History>);
static_assert(std::is_nothrow_move_assignable_v<History>);

}  // namespace Veltrix::Engine::LinearModel::FeatureSelection

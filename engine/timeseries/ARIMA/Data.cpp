#include "Veltrix/Engine/TS/ARIMA/Data.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>

#include "Veltrix/Engine/Exceptions.h"
#include "engine/timeseries/ARIMA/Moments.h"
#include "engine/timeseries/ARIMA/Operations.h"

namespace Veltrix::Engine::TS::ARIMA {

static_assert(std::is_nothrow_move_constructible_v<Data> && std::is_nothrow_move_assignable_v<Data>,
              "a series is moved, not copied");

namespace {

/// The last `length` values.
template <class Values>
auto tail(Values& values, std::size_t length) {
    return std::span(values).last(length);
}

void addTo(std::span<double> values, double amount) {
    for (double& value : values) value += amount;
}

/// Adds the values `lag` earlier back, from position `start` on. Beyond the end of the observed
/// series the result is integrated on itself.
void integrate(std::vector<double>& working, std::vector<double>& result, std::size_t start,
               std::size_t lag) {
    const std::size_t observed = working.size();
    for (std::size_t t = start; t < observed; ++t) {
        working[t] += working[t - lag];
        result[t] += working[t - lag];
    }
    for (std::size_t t = observed; t < result.size(); ++t) {
        result[t] += t - lag < observed ? working[t - lag] : result[t - lag];
    }
}

void listDifference(std::vector<LagOperation>& operations, std::uint64_t count, std::uint64_t lag) {
    if (count != 0 && lag != 0) operations.push_back({.count = count, .lag = lag});
}

/// γ(h) for the lags in [from, to), `to` clamped to the length; empty for an empty range.
std::vector<double> autocovariances(std::span<const double> processed, std::uint64_t from,
                                    std::uint64_t to) {
    to = std::min<std::uint64_t>(to, processed.size());
    if (from >= to) return {};
    std::vector<double> acvf = laggedProducts(processed, from, to);
    for (double& value : acvf) value /= static_cast<double>(processed.size());
    return acvf;
}

}  // namespace

Data::Data(std::uint64_t numLags) : numLags_(numLags) {}

Data::Data(std::uint64_t numLags, std::uint64_t numSeasonalLags, std::uint64_t period)
    : numLags_(numLags), numSeasonalLags_(numSeasonalLags), period_(period) {}

Data::Data(Data&& other) noexcept { *this = std::move(other); }

Data& Data::operator=(Data&& other) noexcept {
    numLags_ = other.numLags_;
    numSeasonalLags_ = other.numSeasonalLags_;
    period_ = other.period_;
    original_ = std::exchange(other.original_, {});
    outcome_ = std::exchange(other.outcome_, {});
    acvf_ = std::exchange(other.acvf_, {});
    pacf_ = std::exchange(other.pacf_, {});
    return *this;
}

Data::~Data() = default;

Data& Data::load(std::vector<double> series) {
    Outcome loaded;
    loaded.mean = meanOf(series);
    loaded.variance = varianceOf(series);
    loaded.processed = series;
    loaded.working = series;
    loaded.operations = outcome_.operations;
    original_ = std::move(series);
    outcome_ = std::move(loaded);
    acvf_.clear();
    pacf_.clear();
    return *this;
}

Data& Data::lag(std::uint64_t count, std::uint64_t lag) {
    listDifference(outcome_.operations, count, lag);
    return *this;
}

Data& Data::subtractMean() {
    outcome_.operations.push_back({.isMean = true});
    return *this;
}

Data& Data::subtractMean(double mean) {
    outcome_.operations.push_back({.value = mean, .isMean = true, .valueGiven = true});
    return *this;
}

Data::Outcome Data::applied(const std::vector<double>& series,
                            std::vector<LagOperation> operations) {
    if (!lengthAfter(series.size(), operations)) throw TooFewRecords();
    Outcome result;
    result.mean = meanOf(series);
    result.working = series;
    std::vector<double>& working = result.working;
    // The values stand at the end of the working copy; each difference leaves `lag` of them behind.
    std::size_t length = working.size();
    for (LagOperation& operation : operations) {
        for (std::uint64_t round = 0; round < operation.count; ++round) {
            length -= operation.lag;
            for (std::size_t t = working.size(); t-- > working.size() - length;) {
                working[t] -= working[t - operation.lag];
            }
        }
        if (operation.count != 0) result.mean = meanOf(tail(working, length));
        if (operation.isMean) {
            if (!operation.valueGiven) operation.value = result.mean;
            if (operation.value != 0.0) addTo(tail(working, length), -operation.value);
        }
    }
    const auto values = tail(working, length);
    result.processed.assign(values.begin(), values.end());
    result.variance = varianceOf(result.processed);
    result.numApplied = operations.size();
    result.operations = std::move(operations);
    return result;
}

Data& Data::apply() {
    outcome_ = applied(original_, outcome_.operations);
    return *this;
}

Data& Data::preprocess() {
    std::vector<LagOperation> operations = outcome_.operations;
    listDifference(operations, numSeasonalLags_, period_);
    listDifference(operations, numLags_, 1);
    operations.push_back({.isMean = true});
    outcome_ = applied(original_, std::move(operations));
    return *this;
}

std::vector<double> Data::postprocess(const std::vector<double>& y) const {
    const std::size_t n = outcome_.processed.size();
    if (outcome_.numApplied == 0 || y.size() < n) return y;
    std::size_t start = original_.size() - n;
    std::vector<double> working = outcome_.working;
    std::vector<double> result;
    result.reserve(start + y.size());
    result.assign(working.begin(), working.begin() + static_cast<std::ptrdiff_t>(start));
    result.insert(result.end(), y.begin(), y.end());
    for (std::size_t k = outcome_.numApplied; k-- > 0;) {
        const LagOperation& operation = outcome_.operations[k];
        if (operation.isMean && operation.value != 0.0) {
            addTo(std::span(working).subspan(start), operation.value);
            addTo(std::span(result).subspan(start), operation.value);
        }
        for (std::uint64_t round = 0; round < operation.count; ++round) {
            integrate(working, result, start, operation.lag);
            start -= operation.lag;
        }
    }
    return result;
}

std::optional<Data::Outcome> Data::centred() const {
    if (isMeanSubtracted()) return std::nullopt;
    std::vector<LagOperation> operations = outcome_.operations;
    operations.push_back({.isMean = true});
    return applied(original_, std::move(operations));
}

Data& Data::computeACVF() { return computeACVF(0, numProcessedRecords()); }

Data& Data::computeACVF(std::uint64_t from, std::uint64_t to) {
    if (from >= std::min(to, numProcessedRecords())) return *this;
    std::optional<Outcome> next = centred();
    std::vector<double> acvf = autocovariances((next ? *next : outcome_).processed, from, to);
    if (next) outcome_ = std::move(*next);
    if (!acvf.empty()) acvf_ = std::move(acvf);
    return *this;
}

Data& Data::computePACF() { return computePACF(0, numProcessedRecords()); }

Data& Data::computePACF(std::uint64_t from, std::uint64_t to) {
    if (from >= std::min(to, numProcessedRecords())) return *this;
    std::optional<Outcome> next = centred();
    std::vector<double> acvf = autocovariances((next ? *next : outcome_).processed, 0, to);
    std::vector<double> pacf = partialAutocorrelations(acvf);
    if (next) outcome_ = std::move(*next);
    // Listed differences may just have shortened the series.
    if (from < acvf.size()) {
        pacf.erase(pacf.begin(), pacf.begin() + static_cast<std::ptrdiff_t>(from));
        pacf_ = std::move(pacf);
    }
    acvf_ = std::move(acvf);
    return *this;
}

bool Data::isMeanSubtracted() const noexcept {
    const std::vector<LagOperation>& operations = outcome_.operations;
    if (operations.empty()) return outcome_.mean == 0.0;
    return operations.back().isMean && operations.back().value != 0.0;
}

}  // namespace Veltrix::Engine::TS::ARIMA

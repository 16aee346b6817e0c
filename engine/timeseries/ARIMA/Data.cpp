#include "Veltrix/Engine/TS/ARIMA/Data.h"

#include <algorithm>
#include <cstddef>
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

}  // namespace

Data::Data(std::uint64_t numLags) : numLags_(numLags) {}

Data::Data(std::uint64_t numLags, std::uint64_t numSeasonalLags, std::uint64_t period)
    : numLags_(numLags), numSeasonalLags_(numSeasonalLags), period_(period) {}

Data::~Data() = default;

Data& Data::load(std::vector<double> series) {
    original_ = std::move(series);
    processed_ = original_;
    working_ = original_;
    mean_ = meanOf(original_);
    variance_ = varianceOf(original_);
    numApplied_ = 0;
    acvf_.clear();
    pacf_.clear();
    return *this;
}

Data& Data::lag(std::uint64_t count, std::uint64_t lag) {
    if (count != 0 && lag != 0) operations_.push_back({.count = count, .lag = lag});
    return *this;
}

Data& Data::subtractMean() {
    operations_.push_back({.isMean = true});
    return *this;
}

Data& Data::subtractMean(double mean) {
    operations_.push_back({.value = mean, .isMean = true, .valueGiven = true});
    return *this;
}

Data& Data::apply() {
    if (!lengthAfter(original_.size(), operations_)) throw TooFewRecords();
    working_ = original_;
    mean_ = meanOf(original_);
    // The values stand at the end of the working copy; each difference leaves `lag` of them behind.
    std::size_t length = working_.size();
    for (LagOperation& operation : operations_) {
        for (std::uint64_t round = 0; round < operation.count; ++round) {
            length -= operation.lag;
            for (std::size_t t = working_.size(); t-- > working_.size() - length;) {
                working_[t] -= working_[t - operation.lag];
            }
        }
        if (operation.count != 0) mean_ = meanOf(tail(working_, length));
        if (operation.isMean) {
            if (!operation.valueGiven) operation.value = mean_;
            if (operation.value != 0.0) addTo(tail(working_, length), -operation.value);
        }
    }
    const auto values = tail(working_, length);
    processed_.assign(values.begin(), values.end());
    variance_ = varianceOf(processed_);
    numApplied_ = operations_.size();
    return *this;
}

Data& Data::preprocess() {
    return lag(numSeasonalLags_, period_).lag(numLags_, 1).subtractMean().apply();
}

std::vector<double> Data::postprocess(const std::vector<double>& y) const {
    if (numApplied_ == 0 || y.size() < processed_.size()) return y;
    std::size_t start = original_.size() - processed_.size();
    std::vector<double> working = working_;
    std::vector<double> result;
    result.reserve(start + y.size());
    result.assign(working.begin(), working.begin() + static_cast<std::ptrdiff_t>(start));
    result.insert(result.end(), y.begin(), y.end());
    for (std::size_t k = numApplied_; k-- > 0;) {
        const LagOperation& operation = operations_[k];
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

Data& Data::computeACVF() { return computeACVF(0, numProcessedRecords()); }

Data& Data::computeACVF(std::uint64_t from, std::uint64_t to) {
    if (from >= std::min(to, numProcessedRecords())) return *this;
    if (!isMeanSubtracted()) subtractMean().apply();
    // Listed differences may just have shortened the series.
    to = std::min(to, numProcessedRecords());
    if (from >= to) return *this;
    acvf_ = laggedProducts(processed_, from, to);
    for (double& value : acvf_) value /= static_cast<double>(processed_.size());
    return *this;
}

Data& Data::computePACF() { return computePACF(0, numProcessedRecords()); }

Data& Data::computePACF(std::uint64_t from, std::uint64_t to) {
    if (from >= std::min(to, numProcessedRecords())) return *this;
    computeACVF(0, to);
    if (from >= acvf_.size()) return *this;
    pacf_ = partialAutocorrelations(acvf_);
    pacf_.erase(pacf_.begin(), pacf_.begin() + static_cast<std::ptrdiff_t>(from));
    return *this;
}

bool Data::isMeanSubtracted() const noexcept {
    if (operations_.empty()) return mean_ == 0.0;
    return operations_.back().isMean && operations_.back().value != 0.0;
}

}  // namespace Veltrix::Engine::TS::ARIMA

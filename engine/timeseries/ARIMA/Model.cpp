#include "Veltrix/Engine/TS/ARIMA/Model.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"
#include "engine/timeseries/ARIMA/Moments.h"
#include "engine/timeseries/ARIMA/Polynomials.h"
#include "engine/timeseries/ARIMA/Preliminary.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

void checkOrder(const char* what, std::uint64_t order) {
    constexpr std::uint64_t kMost = 1000000;
    if (order <= kMost) return;
    Checks::fail(ErrorCode::invalidArgument, "ARIMA model",
                 std::string(what) + " " + std::to_string(order) + ", at most " +
                     std::to_string(kMost) + " expected");
}

void checkSeries(std::span<const double> series) {
    Checks::finite("Loading a series", "value", series);
}

}  // namespace

Model::Model() : whiteNoiseVariance_(std::numeric_limits<double>::quiet_NaN()) {}

Model::Model(std::uint64_t arOrder, std::uint64_t maOrder, Data data)
    : arOrder_(arOrder),
      maOrder_(maOrder),
      data_(std::move(data)),
      whiteNoiseVariance_(std::numeric_limits<double>::quiet_NaN()) {
    checkOrder("AR order", arOrder);
    checkOrder("MA order", maOrder);
    checkOrder("period", data_.period());
    parameters_ = Vector(arOrder + maOrder, 0.0);
}

Model& Model::operator=(const Model& other) {
    Data data = other.data_;
    Vector parameters = other.parameters_;
    data_ = std::move(data);
    parameters_ = std::move(parameters);
    arOrder_ = other.arOrder_;
    maOrder_ = other.maOrder_;
    preprocessed_ = other.preprocessed_;
    whiteNoiseVariance_ = other.whiteNoiseVariance_;
    return *this;
}

Model::Model(Model&& other) noexcept : Model() { *this = std::move(other); }

Model& Model::operator=(Model&& other) noexcept {
    arOrder_ = std::exchange(other.arOrder_, 0);
    maOrder_ = std::exchange(other.maOrder_, 0);
    data_ = std::move(other.data_);
    preprocessed_ = std::exchange(other.preprocessed_, false);
    parameters_ = std::exchange(other.parameters_, Vector());
    whiteNoiseVariance_ = other.whiteNoiseVariance_;
    return *this;
}

Model::~Model() = default;

Model& Model::loadData(std::vector<double> series) {
    Data data(data_.numLags(), data_.numSeasonalLags(), data_.period());
    data.load(std::move(series));
    return loadData(std::move(data));
}

Model& Model::loadData(Data data) {
    checkSeries(data.originalData());
    checkOrder("period", data.period());
    data_ = std::move(data);
    preprocessed_ = false;
    whiteNoiseVariance_ = std::numeric_limits<double>::quiet_NaN();
    return *this;
}

Model& Model::preprocess() {
    if (preprocessed_) return *this;
    data_.preprocess();
    preprocessed_ = true;
    return *this;
}

std::vector<double> Model::sampleAutocovariances(std::uint64_t lags) const {
    const std::vector<double>& series = data_.processedData();
    std::vector<double> result =
        laggedProducts(series, 0, std::min<std::uint64_t>(lags + 1, series.size()));
    for (double& value : result) value /= static_cast<double>(series.size());
    return result;
}

AR::AR(std::uint64_t order) : AR(Data(), order) {}
AR::AR(Data data, std::uint64_t order) : Model(order, 0, std::move(data)) {}
AR::~AR() = default;

AR& AR::fit() {
    if (data_.numProcessedRecords() <= arOrder_) throw TooFewRecords();
    std::vector<double> acf = sampleAutocovariances(arOrder_);
    double variance = acf[0];
    if (variance > 0.0) {
        for (double& value : acf) value /= variance;
    }
    const std::vector<double> partials = partialAutocorrelations(acf);
    Vector coefficients(arOrder_, 0.0);
    fromPartials(std::span(partials).subspan(1), {coefficients.data(), coefficients.size()});
    for (const double partial : std::span(partials).subspan(1)) {
        variance *= (1.0 - partial) * (1.0 + partial);
    }
    parameters_ = std::move(coefficients);
    whiteNoiseVariance_ = variance;
    return *this;
}

std::vector<double> AR::residuals() const {
    const std::vector<double>& series = data_.processedData();
    if (series.size() <= arOrder_) return {};
    std::vector<double> result(series.begin() + static_cast<std::ptrdiff_t>(arOrder_),
                               series.end());
    ProgressPhase phase("Computing residuals", arOrder_);
    for (std::uint64_t k = 1; k <= arOrder_; ++k) {
        const double* const lagged = series.data() + arOrder_ - k;
        const double coefficient = parameters_[k - 1];
        for (std::size_t t = 0; t < result.size(); ++t) result[t] -= coefficient * lagged[t];
        phase.advance();
    }
    return result;
}

MA::MA(std::uint64_t order) : MA(Data(), order) {}
MA::MA(Data data, std::uint64_t order) : Model(0, order, std::move(data)) {}
MA::~MA() = default;

MA& MA::fit() {
    if (data_.numProcessedRecords() <= maOrder_) throw TooFewRecords();
    Innovations found = innovations(sampleAutocovariances(maOrder_));
    parameters_ = Vector(std::span<const double>(found.coefficients));
    whiteNoiseVariance_ = found.variance;
    return *this;
}

}  // namespace Veltrix::Engine::TS::ARIMA

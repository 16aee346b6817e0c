#include "Veltrix/Engine/TS/ARIMA/ARMA.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"
#include "engine/timeseries/ARIMA/Likelihood.h"
#include "engine/timeseries/ARIMA/Operations.h"
#include "engine/timeseries/ARIMA/Polynomials.h"
#include "engine/timeseries/ARIMA/Preliminary.h"
#include "engine/timeseries/ARIMA/Search.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
const double kLogTwoPi = std::log(6.283185307179586);

Vector joined(const std::vector<double>& ar, const std::vector<double>& ma) {
    Vector result;
    for (const double value : ar) result.push_back(value);
    for (const double value : ma) result.push_back(value);
    return result;
}

}  // namespace

LikelihoodBuffers::LikelihoodBuffers() = default;
LikelihoodBuffers::LikelihoodBuffers(const LikelihoodBuffers& /*other*/) {}
LikelihoodBuffers::LikelihoodBuffers(LikelihoodBuffers&& other) noexcept = default;
LikelihoodBuffers& LikelihoodBuffers::operator=(const LikelihoodBuffers& /*other*/) {
    return *this;
}
LikelihoodBuffers& LikelihoodBuffers::operator=(LikelihoodBuffers&& other) noexcept = default;
LikelihoodBuffers::~LikelihoodBuffers() = default;

Likelihood& LikelihoodBuffers::get() {
    if (!likelihood_) likelihood_ = std::make_unique<Likelihood>();
    return *likelihood_;
}

ARMA::ARMA() : lnL_(kNaN) {}

ARMA::ARMA(std::uint64_t p, std::uint64_t q, std::uint64_t d, std::uint64_t seasonalD,
           std::uint64_t period)
    : Model(p, q, Data(d, seasonalD, period)), depth_(std::max(p, q) + 1), lnL_(kNaN) {
    if (seasonalD > 0) checkPeriod("ARIMA model", period);
}

ARMA::ARMA(const std::vector<double>& ar, const std::vector<double>& ma)
    : ARMA(ar.size(), ma.size()) {
    Checks::finite("ARIMA model", "AR coefficient", ar);
    Checks::finite("ARIMA model", "MA coefficient", ma);
    parameters_ = joined(ar, ma);
    fixed_ = true;
}

ARMA::ARMA(const std::vector<double>& coefficients, std::size_t numAr)
    : ARMA(std::min(numAr, coefficients.size()),
           coefficients.size() - std::min(numAr, coefficients.size())) {
    Checks::finite("ARIMA model", "coefficient", coefficients);
    Veltrix::Checks::counts("ARIMA model", coefficients.size(), "coefficients",
                            std::max(numAr, coefficients.size()), "expected");
    parameters_ = joined(coefficients, {});
    fixed_ = true;
}

ARMA::~ARMA() = default;

static_assert(std::is_nothrow_move_assignable_v<ARMA>);

ARMA& ARMA::setInitialEstimates(InitialEstimates method) {
    Veltrix::Checks::enumerator("ARIMA model", "initial estimates", static_cast<int>(method), 0, 1);
    initialEstimates_ = method;
    return *this;
}

ARMA& ARMA::setLjungBoxGroupCount(std::uint32_t count) {
    ljungBoxGroupCount_ = count;
    return *this;
}

ARMA& ARMA::setConstantIncluded(bool included) {
    constantIncluded_ = included;
    return *this;
}

/// What belongs to a fit that counts no longer.
void ARMA::drop() {
    fitted_ = false;
    lnL_ = whiteNoiseVariance_ = kNaN;
    for (auto* list : {&residuals_, &variances_, &fittedValues_, &forecasts_, &forecastsStdDev_,
                       &integratedForecastsStdDev_, &psi_}) {
        list->clear();
    }
    covarMatrix_ = Matrix();
    details_ = standardErrors_ = pValues_ = ModelParts();
    ljungBox_.clear();
}

ARMA& ARMA::loadData(std::vector<double> series) {
    Model::loadData(std::move(series));
    return *this;
}

ARMA& ARMA::loadData(Data data) {
    if (data.numSeasonalLags() > 0) checkPeriod("Loading a series", data.period());
    Model::loadData(std::move(data));
    drop();
    if (!fixed_) std::ranges::fill(parameters_, 0.0);
    return *this;
}

ARMA& ARMA::preprocess() {
    if (preprocessed_) return *this;
    Data next = data_;
    if (constantIncluded_) {
        next.preprocess().computePACF(0, depth_ + 1);
    } else {
        next.lag(next.numSeasonalLags(), next.period()).lag(next.numLags(), 1).apply();
    }
    data_ = std::move(next);
    preprocessed_ = true;
    return *this;
}

void ARMA::expand(const Vector& parameters, std::vector<double>& ar,
                  std::vector<double>& ma) const {
    const double* const values = parameters.data();
    ar.assign(values, values + arOrder());
    ma.assign(values + arOrder(), values + parameters.size());
}

bool ARMA::follow(Likelihood& likelihood, const Vector& parameters) const {
    expand(parameters, likelihood.ar, likelihood.ma);
    return likelihood.filter.setProcess(likelihood.ar, likelihood.ma);
}

/// The process of the model's own coefficients.
void ARMA::followOwn(Likelihood& likelihood, const char* operation) const {
    if (follow(likelihood, parameters_)) return;
    Checks::fail(ErrorCode::invalidArgument, operation,
                 "AR coefficients of a process that is not stationary, stationary ones expected");
}

/// The objective of the first `most` values less what does not depend on the parameters.
double ARMA::relativeObjective(Likelihood& likelihood, const Vector& parameters,
                               std::size_t most) const {
    if (!follow(likelihood, parameters)) return kOutside;
    const std::vector<double>& all = data_.processedData();
    const auto series = std::span(all).first(std::min(most, all.size()));
    const auto n = static_cast<double>(series.size());
    const OneStepFilter::Sums sums = likelihood.filter.run(series);
    const double value = n * std::log(sums.squares / (n * data_.variance())) + sums.logVariances;
    return std::isfinite(value) ? value : kOutside;
}

double ARMA::function(const Vector& parameters) {
    Veltrix::Checks::counts("ARIMA likelihood", parameters.size(), "coefficients", numVars(),
                            "in the model");
    Likelihood& likelihood = buffers_.get();
    if (!follow(likelihood, parameters)) return kOutside;
    const std::vector<double>& series = data_.processedData();
    if (series.empty()) return 0.0;
    const auto n = static_cast<double>(series.size());
    const OneStepFilter::Sums sums = likelihood.filter.run(series);
    const double variance = sums.squares / n;
    if (std::fabs(variance) < kEpsilon) return 0.0;
    const double value = n * (std::log(variance) + kLogTwoPi + 1.0) + sums.logVariances;
    return std::isfinite(value) ? value : kOutside;
}

Predictions ARMA::predict(const std::vector<double>& series, std::size_t start) const {
    Veltrix::Checks::index("Prediction", "start", static_cast<std::int64_t>(start),
                           series.size() + 1);
    Likelihood likelihood;
    followOwn(likelihood, "Prediction");
    const auto values = std::span(series).subspan(start);
    likelihood.filter.run(values);
    Predictions result{{values.begin(), values.end()}, likelihood.filter.variances()};
    const std::span<const double> errors = likelihood.filter.errors();
    for (std::size_t t = 0; t < errors.size(); ++t) result.values[t] -= errors[t];
    return result;
}

double ARMA::computeWhiteNoiseVariance(const std::vector<double>& series,
                                       const Predictions& predictions) const {
    Veltrix::Checks::counts("White-noise variance", predictions.values.size(), "predictions",
                            series.size(), "values");
    if (series.empty()) return 0.0;
    double sum = 0.0;
    for (std::size_t t = 0; t < series.size(); ++t) {
        const double error = series[t] - predictions.values[t];
        sum += error * error / predictions.variances[t];
    }
    return sum / static_cast<double>(series.size());
}

std::uint64_t ARMA::minOrder() const { return std::min(arOrder(), maOrder()); }
// NOLINTNEXTLINE(bugprone-virtual-near-miss): not a form of maOrder
std::uint64_t ARMA::maxOrder() const { return std::max(arOrder(), maOrder()); }

Vector ARMA::scaleSolution(const Vector& variables) const {
    return variables * std::sqrt(static_cast<double>(data_.numProcessedRecords()));
}

Vector ARMA::preliminary(InitialEstimates method) const {
    const std::vector<double>& series = data_.processedData();
    const std::uint64_t p = arOrder();
    const std::uint64_t q = maOrder();
    std::optional<std::vector<double>> found;
    if (method == InitialEstimates::innovations) {
        const std::uint64_t depth = std::max(depth_, p + q);
        if (depth < series.size()) {
            found = fromPsi(innovations(sampleAutocovariances(depth)).coefficients, p, q);
        }
    } else {
        const std::uint64_t depth = std::max(depth_, maxOrder() + 1);
        if (q + depth < series.size()) {
            const std::vector<double> residuals = AR(data_, depth).fit().residuals();
            found = regressOnResiduals(series, residuals, p, q);
        }
    }
    return found ? Vector(std::span<const double>(*found)) : Vector();
}

ARMA& ARMA::performHannanRissanen() {
    Vector found = preliminary(InitialEstimates::hannanRissanen);
    if (!found.empty()) parameters_ = std::move(found);
    depth_ = std::max(depth_, maxOrder() + 1);
    return *this;
}

ARMA& ARMA::performInnovations() {
    Vector found = preliminary(InitialEstimates::innovations);
    if (!found.empty()) parameters_ = std::move(found);
    return *this;
}

Vector ARMA::initialVector() {
    if (fixed_ || numVars() == 0) return parameters_;
    using enum InitialEstimates;
    Vector first = preliminary(initialEstimates_);
    if (!first.empty() && function(first) < kOutside) return first;
    Vector second = preliminary(initialEstimates_ == innovations ? hannanRissanen : innovations);
    if (!second.empty() && function(second) < kOutside) return second;
    return !first.empty() ? first : !second.empty() ? second : parameters_;
}

ARMA& ARMA::computeInitialEstimates() {
    Vector found = initialVector();
    const double value = function(found);
    parameters_ = std::move(found);
    lnL_ = value;
    return *this;
}

/// Enough values for the coefficients and the longest lag.
void ARMA::checkEnough() const {
    if (data_.numProcessedRecords() <= std::max(numVars(), longestLag())) throw TooFewRecords();
}

ARMA& ARMA::fit() {
    // The more coefficients, the more maxima, fewer in seasonal models; the longer the series, the
    // fewer and the dearer.
    constexpr std::uint64_t kMost = 48;
    constexpr std::uint64_t kShort = 200;
    const std::uint64_t n = data_.numProcessedRecords();
    const std::uint64_t perCoefficient = sarOrder() + smaOrder() > 0 ? 4 : 12;
    const std::uint64_t wanted =
        std::min(perCoefficient * (std::max<std::uint64_t>(numVars(), 1) - 1), kMost);
    return fitFrom(std::max<std::uint64_t>(wanted * kShort / std::max(n, kShort), 2));
}

ARMA& ARMA::fitFrom(std::size_t numSpread) {
    checkEnough();
    QuasiNewtonOptimizer& base = *this;
    Likelihood likelihood;
    Search best(*this, likelihood);
    Vector solution = solve(best, numSpread);
    if (!follow(likelihood, solution)) {
        Checks::fail(ErrorCode::noConvergence, "ARIMA fit", "no stationary coefficients found");
    }
    const OneStepFilter::Sums sums = likelihood.filter.run(data_.processedData());
    const std::span<const double> errors = likelihood.filter.errors();
    std::vector<double> residuals(errors.begin(), errors.end());
    std::vector<double> variances = likelihood.filter.variances();
    const double value = function(solution);
    drop();
    base = std::move(static_cast<QuasiNewtonOptimizer&>(best));
    parameters_ = std::move(solution);
    residuals_ = std::move(residuals);
    variances_ = std::move(variances);
    whiteNoiseVariance_ = sums.squares / static_cast<double>(data_.numProcessedRecords());
    lnL_ = value;
    fitted_ = true;
    return *this;
}

ARMA ARMA::quickFit(std::vector<double> series, std::uint64_t p, std::uint64_t q,
                    InitialEstimates method) const {
    ARMA model(p, q);
    model.setInitialEstimates(method).setMaxIterations(getMaxIterations());
    model.loadData(std::move(series));
    try {
        model.fitFrom(0);
    } catch (const TooFewRecords&) {
        return {std::vector<double>(p), std::vector<double>(q)};
    }
    return model;
}

/// The estimates of the other method, and no dependence.
void ARMA::addOtherStarts(const Search& search, std::vector<Vector>& starts) const {
    using enum InitialEstimates;
    if (sarOrder() + smaOrder() == 0) {
        const Vector other =
            preliminary(initialEstimates_ == innovations ? hannanRissanen : innovations);
        if (!other.empty()) starts.push_back(search.variables(other));
    }
    starts.emplace_back(numVars(), 0.0);
}

Vector ARMA::solve(Search& best, std::size_t numSpread) {
    if (fixed_ || numVars() == 0) return parameters_;
    if (!(data_.variance() > 0.0)) return Vector(numVars(), 0.0);
    Vector initial = initialVector();
    std::vector<Vector> starts{best.variables(initial)};
    if (getMaxIterations() <= 0) return best.parameters(starts[0]);
    if (numSpread > 0) addOtherStarts(best, starts);
    for (std::size_t k = 0; k < numSpread; ++k) starts.push_back(best.spread(k));

    if (starts.size() == 1) return best.parameters(best.minimize(starts[0]));

    std::vector<std::pair<double, Vector>> ends;
    ProgressPhase phase("Maximising the likelihood", starts.size() + 1);
    for (const Vector& start : starts) {
        const Vector end = Search(best).minimizeCoarsely(start);
        ends.emplace_back(best.function(end), end);
        phase.advance();
    }
    // Of ends at one maximum the first counts, whatever the last digits say.
    const double same = 1e-9 * static_cast<double>(data_.numProcessedRecords());
    std::size_t first = 0;
    for (std::size_t k = 1; k < ends.size(); ++k) {
        if (ends[k].first < ends[first].first - same) first = k;
    }
    const Vector solution = best.minimize(ends[first].second);
    return best.parameters(isMovingAverageFactored() ? solution : invertible(best, solution, ends));
}

/// Where the search lets MA parts leave the invertible processes, a maximum has a mirror image of
/// the same likelihood: the invertible one of the two, if a search came near it.
Vector ARMA::invertible(Search& best, const Vector& solution,
                        const std::vector<std::pair<double, Vector>>& ends) const {
    constexpr double kNear = 0.1;
    constexpr double kSame = 1e-6;
    std::vector<double> ar;
    std::vector<double> ma;
    const auto isInvertible = [&](const Vector& parameters) {
        expand(parameters, ar, ma);
        for (double& value : ma) value = -value;
        ar.resize(ma.size());
        return toPartials(ma, ar);
    };
    if (isInvertible(best.parameters(solution))) return solution;
    const double least = best.function(solution);
    for (const auto& [value, end] : ends) {
        if (value > least + kNear || !isInvertible(best.parameters(end))) continue;
        Search other(best);
        Vector refined = other.minimize(end);
        if (other.function(refined) > least + kSame) continue;
        best = std::move(other);
        return refined;
    }
    return solution;
}
}  // namespace Veltrix::Engine::TS::ARIMA

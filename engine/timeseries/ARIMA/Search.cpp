#include "engine/timeseries/ARIMA/Search.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>

#include "Veltrix/Data/Progress.h"
#include "engine/timeseries/ARIMA/Polynomials.h"

namespace Veltrix::Engine::TS::ARIMA {
namespace {

/// The largest partial autocorrelation to start from; beyond it slopes are flat.
constexpr double kStartLimit = 0.98;
/// Values that a coarse search looks at.
constexpr std::size_t kCoarseLength = 20000;
constexpr double kPi = 3.14159265358979323846;

void negate(std::span<double> values) {
    for (double& value : values) value = -value;
}

}  // namespace

Search::Search(const ARMA& model, Likelihood& likelihood)
    : model_(&model), likelihood_(&likelihood), parameters_(model.numVars(), 0.0) {
    const Kind average = model.isMovingAverageFactored() ? Kind::movingAverage : Kind::plain;
    std::size_t offset = 0;
    std::size_t largest = 0;
    const auto add = [&](std::uint64_t size, Kind kind) {
        if (size == 0) return;
        groups_.push_back({offset, size, kind});
        offset += size;
        largest = std::max<std::size_t>(largest, size);
    };
    add(model.arOrder(), Kind::autoregressive);
    add(model.maOrder(), average);
    add(model.sarOrder(), Kind::autoregressive);
    add(model.smaOrder(), average);
    partials_.resize(largest);
    scale_ = model.scaleSolution(Vector(model.numVars(), 1.0));
    setMaxIterations(model.getMaxIterations());
    setGradientTolerance(model.getGradiendTolerance());
}

Search::~Search() = default;

void Search::install(const Vector& variables) {
    for (const Group& group : groups_) {
        const std::span<double> result(parameters_.data() + group.offset, group.size);
        const std::span<double> partials = std::span(partials_).first(group.size);
        for (std::size_t i = 0; i < group.size; ++i) {
            const double value = variables[group.offset + i] / scale_[group.offset + i];
            partials[i] = group.kind == Kind::plain            ? value
                          : group.kind == Kind::autoregressive ? std::tanh(value)
                                                               : std::sin(value);
        }
        if (group.kind == Kind::plain) {
            std::ranges::copy(partials, result.begin());
            continue;
        }
        fromPartials(partials, result);
        if (group.kind == Kind::movingAverage) negate(result);
    }
}

Vector Search::parameters(const Vector& variables) const {
    Search copy(*this);
    copy.install(variables);
    return copy.parameters_;
}

Vector Search::variables(const Vector& parameters) const {
    Vector result(parameters.size());
    for (const Group& group : groups_) {
        const std::span<const double> given(parameters.data() + group.offset, group.size);
        std::vector<double> values(given.begin(), given.end());
        if (group.kind != Kind::autoregressive) negate(values);
        values = shrunk(std::move(values), kStartLimit);
        std::vector<double> partials = values;
        if (group.kind == Kind::plain) {
            negate(partials);
        } else {
            toPartials(values, partials);
        }
        for (std::size_t i = 0; i < group.size; ++i) {
            const double value = group.kind == Kind::plain            ? partials[i]
                                 : group.kind == Kind::autoregressive ? std::atanh(partials[i])
                                                                      : std::asin(partials[i]);
            result[group.offset + i] = value * scale_[group.offset + i];
        }
    }
    return result;
}

Vector Search::spread(std::size_t k) const {
    // Multiples of the powers of the inverse of the root of x^(m+1) = x + 1 fill m dimensions.
    const std::size_t m = parameters_.size();
    double root = 2.0;
    for (int i = 0; i < 60; ++i) root = std::pow(1.0 + root, 1.0 / (static_cast<double>(m) + 1.0));
    Vector result(m);
    double step = 1.0;
    for (std::size_t i = 0; i < m; ++i) {
        step /= root;
        const double place = 0.5 + step * static_cast<double>(k + 1);
        result[i] = kStartLimit * std::cos(kPi * (place - std::floor(place)));
    }
    // These are partial autocorrelations.
    for (const Group& group : groups_) {
        for (std::size_t i = group.offset; i < group.offset + group.size; ++i) {
            if (group.kind == Kind::autoregressive) result[i] = std::atanh(result[i]);
            if (group.kind == Kind::movingAverage) result[i] = std::asin(result[i]);
        }
        if (group.kind == Kind::plain) {
            const std::span<double> all(result.data() + group.offset, group.size);
            const std::vector<double> partials(all.begin(), all.end());
            fromPartials(partials, all);
            negate(all);
        }
    }
    for (std::size_t i = 0; i < m; ++i) result[i] *= scale_[i];
    return result;
}

double Search::function(const Vector& variables) {
    install(variables);
    last_ = variables;
    lastValue_ =
        model_->relativeObjective(*likelihood_, parameters_, coarse_ ? kCoarseLength : SIZE_MAX);
    return lastValue_;
}

Vector Search::minimizeCoarsely(const Vector& start) {
    constexpr double kTolerance = 0.1;
    const double tolerance = getGradiendTolerance();
    setGradientTolerance(std::max(tolerance, kTolerance));
    coarse_ = true;
    Vector end = minimize(start);
    coarse_ = false;
    setGradientTolerance(tolerance);
    return end;
}

Vector Search::getGradient(const Vector& variables) {
    constexpr double kStep = 1e-3;  // of about a standard error
    Vector gradient(variables.size());
    Vector at = variables;
    const double here = !coarse_ || last_ == variables ? lastValue_ : function(variables);
    ProgressPhase phase("Differentiating", variables.size());
    for (std::uint64_t i = 0; i < variables.size(); ++i) {
        at[i] = variables[i] + kStep;
        const double ahead = function(at);
        at[i] = variables[i] - kStep;
        const double behind = coarse_ ? here : function(at);
        at[i] = variables[i];
        const bool isInside = ahead < kOutside && behind < kOutside;
        if (isInside) gradient[i] = (ahead - behind) / (coarse_ ? kStep : 2.0 * kStep);
        phase.advance();
    }
    return gradient;
}

}  // namespace Veltrix::Engine::TS::ARIMA

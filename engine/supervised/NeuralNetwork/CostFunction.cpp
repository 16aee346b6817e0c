#include "Veltrix/Engine/NeuralNetwork/CostFunction.h"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "data/containers/Checks.h"
#include "engine/supervised/NeuralNetwork/Values.h"
#include "support/VectorMath.h"

namespace Veltrix::Engine::NeuralNetwork::CostFunction {
namespace {

/// −Σ y ln max(v, least), of values that `pair` makes of outputs and responses as {y, v}.
template <class Pair>
double logarithms(std::span<const double> output, std::span<const double> response, Pair pair) {
    constexpr std::size_t kBlock = 256;
    constexpr double kLeast = std::numeric_limits<double>::denorm_min();
    double values[kBlock];
    double total = 0.0;
    for (std::size_t first = 0; first < output.size(); first += kBlock) {
        const std::size_t count = std::min(kBlock, output.size() - first);
        for (std::size_t i = 0; i < count; ++i) {
            // In this order NaN stays NaN.
            values[i] = std::max(pair(output[first + i], response[first + i]).second, kLeast);
        }
        Support::ln(values, values, static_cast<std::int64_t>(count));
        for (std::size_t i = 0; i < count; ++i) {
            total -= pair(output[first + i], response[first + i]).first * values[i];
        }
    }
    return total;
}

/// −y/v, the derivative of −y ln v by v; 0 where the logarithm is that of the least double.
/// Bounded, so that what a saturated activation multiplies with 0 is not infinite.
double derivative(double response, double value, double least) {
    return value <= 0.0 ? 0.0 : -response / std::max(value, least);
}

constexpr double kLeastNormal = std::numeric_limits<double>::min();
constexpr double kHalfUlp = std::numeric_limits<double>::epsilon() / 2.0;

}  // namespace

Generic::~Generic() = default;

double Generic::cost(const Matrix& output, const Matrix& response) const {
    Checks::sameShape("Network cost", output, response);
    const Matrix a = byColumns(output);
    const Matrix y = byColumns(response);
    return total(valuesOf(a), valuesOf(y)) / output.getNumCols();
}

double Quadratic::total(std::span<const double> output, std::span<const double> response) const {
    double total = 0.0;
    for (std::size_t i = 0; i < output.size(); ++i) {
        const double difference = output[i] - response[i];
        total += difference * difference;
    }
    return total / 2.0;
}

void Quadratic::differentiate(std::span<const double> output, std::span<const double> response,
                              std::span<double> result) const {
    for (std::size_t i = 0; i < output.size(); ++i) result[i] = output[i] - response[i];
}

double CrossEntropy::total(std::span<const double> output, std::span<const double> response) const {
    return logarithms(output, response, [](double a, double y) { return std::pair(y, a); }) +
           logarithms(output, response,
                      [](double a, double y) { return std::pair(1.0 - y, 1.0 - a); });
}

void CrossEntropy::differentiate(std::span<const double> output, std::span<const double> response,
                                 std::span<double> result) const {
    for (std::size_t i = 0; i < output.size(); ++i) {
        const double a = output[i];
        const double y = response[i];
        // An output just below 1 is rounded to it; what is left to 1 is then half an ulp.
        const double rest = a == 1.0 ? kHalfUlp : 1.0 - a;
        result[i] = derivative(y, a, kLeastNormal) - derivative(1.0 - y, rest, kHalfUlp);
    }
}

double LogLoss::total(std::span<const double> output, std::span<const double> response) const {
    return logarithms(output, response, [](double a, double y) { return std::pair(y, a); });
}

void LogLoss::differentiate(std::span<const double> output, std::span<const double> response,
                            std::span<double> result) const {
    for (std::size_t i = 0; i < output.size(); ++i) {
        result[i] = derivative(response[i], output[i], kLeastNormal);
    }
}

std::shared_ptr<const Generic> make(int code) {
    switch (code) {
        case 2:
            return std::make_shared<CrossEntropy>();
        case 3:
            return std::make_shared<LogLoss>();
        default:
            return std::make_shared<Quadratic>();
    }
}

}  // namespace Veltrix::Engine::NeuralNetwork::CostFunction

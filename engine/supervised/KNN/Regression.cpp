#include <algorithm>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/KNN.h"
#include "Veltrix/Evaluator/Metrics.h"
#include "engine/supervised/KNN/Neighbours.h"

namespace Veltrix::Engine::Regression::KNN {
namespace {

constexpr const wchar_t* kMeasure = L"RMSE";

/// Running weighted mean of the neighbours' responses.
struct Average {
    double sum = 0.0;
    double total = 0.0;

    void add(const Vector& response, const Matrix& neighbours, const Vector& weights, int from,
             int to) {
        for (int i = from; i < to; ++i) {
            const double weight = weights[static_cast<std::uint64_t>(i)];
            sum += weight * response[static_cast<std::uint64_t>(neighbours(i, 0))];
            total += weight;
        }
    }
    double mean() const { return sum / total; }
};

}  // namespace

Model::~Model() = default;

Model& Model::setTrainingFeatures(const Matrix& x) {
    Engine::KNN::Model::setTrainingFeatures(x);
    return *this;
}

Model& Model::setTrainingResponse(const Vector& response) {
    response_ = response;
    return *this;
}

const Vector& Model::getTrainingResponse() const { return response_; }

Model& Model::setWeights(const Vector& weights) {
    Engine::KNN::Model::setWeights(weights);
    return *this;
}

Model& Model::normalizeWeights() {
    Weightable::normalizeWeights();
    return *this;
}

Model& Model::fit(const Matrix& x, const Vector& response) {
    Weightable role = *this;
    role.fit(response);
    return fit(x, response, role.getWeights());
}

Model& Model::fit(const Matrix& x, const Vector& response, const Vector& weights) {
    Engine::KNN::checkTraining(x, response.size(), weights);
    Model fitted;  // so that a failure leaves this model as it is
    fitted.setWeights(weights).setTrainingFeatures(x).setTrainingResponse(response);
    *this = std::move(fitted);
    return *this;
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& response) {
    return fitFrame(*this, x, Convert::toDoubleVector(response));
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& response,
                  const ConstDataFrameColumn& weights) {
    return fitFrame(*this, x, Convert::toDoubleVector(response), Convert::toDoubleVector(weights));
}

DataFrame Model::predict(const Matrix& records, int k, bool includeTies, bool skipNaN,
                         WeightingScheme scheme) const {
    Vector predictions(static_cast<std::uint64_t>(records.getNumRows()),
                       std::numeric_limits<double>::quiet_NaN());
    if (Engine::KNN::checkQuery(*this, response_.size(), records, k, "neighbours (k)")) {
        Engine::KNN::visitNeighbours(
            *this, records, {k, includeTies, skipNaN, scheme},
            [&](int record, const Matrix& neighbours, const Vector& weights) {
                Average average;
                average.add(response_, neighbours, weights, 0, neighbours.getNumRows());
                predictions[static_cast<std::uint64_t>(record)] = average.mean();
            });
    }
    predictions.setName(L"Prediction");
    DataFrame frame(L"Scores: " + records.getName());
    frame.append(std::move(predictions));
    return frame;
}

DataFrame Model::predict(const DataFrame& records, int k, bool includeTies, bool skipNaN,
                         WeightingScheme scheme) const {
    return predict(getFrameColumns().toMatrix(records), k, includeTies, skipNaN, scheme);
}

Model::KSearchInfo Model::kSearch(const Matrix& records, const Vector& actual, int maxK,
                                  bool includeTies, bool skipNaN, WeightingScheme scheme) const {
    const bool fitted =
        Engine::KNN::checkQuery(*this, response_.size(), records, maxK, "neighbours (maxK)");
    Engine::KNN::checkActual(records, actual.size());
    if (!fitted) return Engine::KNN::emptySearch(maxK, kMeasure);
    const int differentK = std::min(maxK, getTrainingFeatures().getNumRows());
    std::vector<Vector> predictions(static_cast<std::size_t>(differentK), Vector(actual.size()));
    Engine::KNN::visitNeighbours(
        *this, records, {differentK, includeTies, skipNaN, scheme},
        [&](int record, const Matrix& neighbours, const Vector& weights) {
            Average average;
            int done = 0;
            for (int k = 1; k <= differentK; ++k) {
                const int length = Engine::KNN::lengthOfList(neighbours, k, includeTies);
                average.add(response_, neighbours, weights, done, length);
                predictions[static_cast<std::size_t>(k - 1)][static_cast<std::uint64_t>(record)] =
                    average.mean();
                done = length;
            }
        });
    Vector errors;
    for (const Vector& ofK : predictions) errors.push_back(Metrics::RMSE(actual, ofK));
    return Engine::KNN::searchInfo(std::move(errors), maxK, kMeasure);
}

Model::KSearchInfo Model::kSearch(const DataFrame& records, const ConstDataFrameColumn& actual,
                                  int maxK, bool includeTies, bool skipNaN,
                                  WeightingScheme scheme) const {
    return kSearch(getFrameColumns().toMatrix(records), Convert::toDoubleVector(actual), maxK,
                   includeTies, skipNaN, scheme);
}

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

}  // namespace Veltrix::Engine::Regression::KNN

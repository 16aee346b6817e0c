#include <algorithm>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/ClassPrediction.h"
#include "Veltrix/Engine/KNN.h"
#include "Veltrix/Evaluator/Metrics.h"
#include "engine/core/Checks.h"
#include "engine/core/ClassLabels.h"
#include "engine/core/ClassWeights.h"
#include "engine/supervised/KNN/Neighbours.h"

namespace Veltrix::Engine::Classification::KNN {
namespace {

constexpr const wchar_t* kMeasure = L"% Misclassification";

/// Posterior probabilities, one vector per class.
using Posteriors = std::vector<Vector>;

/// The place of every label in the class list.
IntVector classCodes(const StringVector& labels, const StringVector& classes) {
    IntVector codes = placesAmong(classes, labels);
    const auto unknown = std::find(codes.begin(), codes.end(), -1);
    if (unknown == codes.end()) return codes;
    const WString& label = labels[static_cast<std::uint64_t>(unknown - codes.begin())];
    throw std::out_of_range("Nearest neighbours: label \"" + label.toUtf8() + "\" is no class");
}

/// Running totals of the neighbours' weights by class.
class Votes {
  public:
    Votes(const StringVector& response, const StringVector& classes)
        : codes_(classCodes(response, classes)), totals_(classes.size()) {}

    void clear() {
        numVotes_ = 0;
        total_ = 0.0;
        totals_.assign(totals_.size(), 0.0);
    }
    void add(const Matrix& neighbours, const Vector& weights, int from, int to) {
        for (int i = from; i < to; ++i) {
            const double weight = weights[static_cast<std::uint64_t>(i)];
            const int voter = static_cast<int>(neighbours(i, 0));
            totals_[codes_[voter]] += weight;
            total_ += weight;
            ++numVotes_;
        }
    }
    /// 0 for every class where nobody voted.
    void writeShares(std::uint64_t record, Posteriors& posteriors) const {
        for (std::uint64_t c = 0; c < totals_.size(); ++c) {
            posteriors[c][record] = numVotes_ == 0 ? 0.0 : totals_[c] / total_;
        }
    }

  private:
    IntVector codes_;
    Vector totals_;
    double total_ = 0.0;
    int numVotes_ = 0;
};

Posteriors emptyPosteriors(const Matrix& records, const StringVector& classes) {
    return Posteriors(classes.size(), Vector(static_cast<std::uint64_t>(records.getNumRows())));
}

DataFrame toFrame(const Matrix& records, const StringVector& classes, Posteriors posteriors) {
    DataFrame frame(L"Posterior Probability: " + records.getName());
    for (std::uint64_t c = 0; c < classes.size(); ++c) {
        posteriors[c].setName(classes[c]);
        frame.append(std::move(posteriors[c]));
    }
    return frame;
}

}  // namespace

Model::~Model() = default;

Model& Model::setTrainingFeatures(const Matrix& x) {
    Engine::KNN::Model::setTrainingFeatures(x);
    return *this;
}

Model& Model::setTrainingResponse(const StringVector& response) {
    response_ = StringVector(response);  // moved as a whole
    return *this;
}

const StringVector& Model::getTrainingResponse() const { return response_; }

Model& Model::setWeights(const Vector& weights) {
    Engine::KNN::Model::setWeights(weights);
    return *this;
}

Model& Model::setClasses(const StringVector& classes) {
    Modelable::setClasses(classes);
    return *this;
}

Model& Model::setSuccessClass(const WString& successClass) {
    Modelable::setSuccessClass(successClass);
    return *this;
}

Model& Model::setSuccessProbabilityCutoff(double cutoff) {
    Modelable::setSuccessProbabilityCutoff(cutoff);
    return *this;
}

Model& Model::setPrior(const WString& label, double prior) {
    Modelable::setPrior(label, prior);
    return *this;
}

Model& Model::setPrior(const PriorMap& priors) {
    Modelable::setPrior(priors);
    return *this;
}

Model& Model::fit(const Matrix& x, const StringVector& response) {
    Weightable role = *this;
    role.fit(response);
    return fit(x, response, role.getWeights());
}

Model& Model::fit(const Matrix& x, const StringVector& response, const Vector& weights) {
    Engine::KNN::checkTraining(x, response.size(), weights);
    Model fitted;  // so that a failure leaves this model as it is
    static_cast<Modelable&>(fitted) = *this;
    fitted.setWeights(weights).fit(response, weights);
    fitted.setTrainingFeatures(x).setTrainingResponse(response).normalizeWeights();
    *this = std::move(fitted);
    return *this;
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& response) {
    return fitFrame(*this, x, Convert::toStringVector(response));
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& response,
                  const ConstDataFrameColumn& weights) {
    return fitFrame(*this, x, Convert::toStringVector(response), Convert::toDoubleVector(weights));
}

Model& Model::normalizeWeights() {
    const IntVector codes = classCodes(response_, getClasses());
    Vector weights = getWeights();
    Vector totals(getClasses().size());
    for (std::uint64_t i = 0; i < codes.size(); ++i) totals[codes[i]] += weights[i];
    const std::span<const double> perClass(totals.data(), totals.size());
    const std::vector<double> factors = classWeights(countedPriors(*this, perClass), perClass);
    for (std::uint64_t i = 0; i < codes.size(); ++i)
        weights[i] *= factors[static_cast<std::size_t>(codes[i])];
    return setWeights(weights);
}

DataFrame Model::posteriorProbability(const Matrix& records, int k, bool includeTies, bool skipNaN,
                                      WeightingScheme scheme) const {
    Checks::fitted("Nearest neighbours",
                   Engine::KNN::checkQuery(*this, response_.size(), records, k, "neighbours (k)"));
    Votes votes(response_, getClasses());
    Posteriors posteriors = emptyPosteriors(records, getClasses());
    Engine::KNN::visitNeighbours(*this, records, {k, includeTies, skipNaN, scheme},
                                 [&](int record, const Matrix& neighbours, const Vector& weights) {
                                     votes.clear();
                                     votes.add(neighbours, weights, 0, neighbours.getNumRows());
                                     votes.writeShares(static_cast<std::uint64_t>(record),
                                                       posteriors);
                                 });
    return toFrame(records, getClasses(), std::move(posteriors));
}

DataFrame Model::posteriorProbability(const DataFrame& records, int k, bool includeTies,
                                      bool skipNaN, WeightingScheme scheme) const {
    return posteriorProbability(getFrameColumns().toMatrix(records), k, includeTies, skipNaN,
                                scheme);
}

Model::KSearchInfo Model::kSearch(const Matrix& records, const StringVector& actual, int maxK,
                                  bool includeTies, bool skipNaN, WeightingScheme scheme) const {
    const bool fitted =
        Engine::KNN::checkQuery(*this, response_.size(), records, maxK, "neighbours (maxK)");
    Engine::KNN::checkActual(records, actual.size());
    if (!fitted) return Engine::KNN::emptySearch(maxK, kMeasure);
    const int differentK = std::min(maxK, getTrainingFeatures().getNumRows());
    Votes votes(response_, getClasses());
    std::vector<Posteriors> posteriors(static_cast<std::size_t>(differentK),
                                       emptyPosteriors(records, getClasses()));
    Engine::KNN::visitNeighbours(
        *this, records, {differentK, includeTies, skipNaN, scheme},
        [&](int record, const Matrix& neighbours, const Vector& weights) {
            votes.clear();
            int done = 0;
            for (int k = 1; k <= differentK; ++k) {
                const int length = Engine::KNN::lengthOfList(neighbours, k, includeTies);
                votes.add(neighbours, weights, done, length);
                votes.writeShares(static_cast<std::uint64_t>(record),
                                  posteriors[static_cast<std::size_t>(k - 1)]);
                done = length;
            }
        });
    const Vector priors = getPriorVector();
    Vector errors;
    ProgressPhase phase("Evaluating every k", posteriors.size());
    for (Posteriors& ofK : posteriors) {
        const DataFrame predicted = Veltrix::Classification::Engine::predict(
            toFrame(records, getClasses(), std::move(ofK)), priors, getSuccessClass(),
            getSuccessProbabilityCutoff());
        errors.push_back(
            100.0 - 100.0 * Metrics::accuracy(actual, Convert::toStringVector(predicted), true));
        phase.advance();
    }
    return Engine::KNN::searchInfo(std::move(errors), maxK, kMeasure);
}

Model::KSearchInfo Model::kSearch(const DataFrame& records, const ConstDataFrameColumn& actual,
                                  int maxK, bool includeTies, bool skipNaN,
                                  WeightingScheme scheme) const {
    return kSearch(getFrameColumns().toMatrix(records), Convert::toStringVector(actual), maxK,
                   includeTies, skipNaN, scheme);
}

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

}  // namespace Veltrix::Engine::Classification::KNN

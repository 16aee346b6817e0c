#include "Veltrix/Evaluator/ConfusionMatrix.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <unordered_map>

#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

constexpr const char* kOperation = "Confusion matrix";

/// 0/0 is NaN.
double ratio(std::int64_t part, std::int64_t whole) noexcept {
    return static_cast<double>(part) / static_cast<double>(whole);
}

std::size_t place(int index) { return static_cast<std::size_t>(index); }

/// The labels of both lists, ascending, and every label as its position.
StringVector codesOf(const StringVector& actual, const StringVector& predicted, IntVector& first,
                     IntVector& second) {
    std::unordered_map<WString, int> positions;
    for (const StringVector* labels : {&actual, &predicted}) {
        for (const WString& label : *labels) positions.emplace(label, 0);
    }
    StringVector classes;
    classes.reserve(positions.size());
    for (const auto& entry : positions) classes.push_back(entry.first);
    std::sort(classes.begin(), classes.end());
    int next = 0;
    for (const WString& label : classes) positions[label] = next++;
    for (const WString& label : actual) first.push_back(positions[label]);
    for (const WString& label : predicted) second.push_back(positions[label]);
    return classes;
}

}  // namespace

std::int64_t BinaryCounts::numRecords() const noexcept {
    return truePositives + falseNegatives + falsePositives + trueNegatives;
}

double BinaryCounts::sensitivity() const noexcept {
    return ratio(truePositives, truePositives + falseNegatives);
}

double BinaryCounts::specificity() const noexcept {
    return ratio(trueNegatives, trueNegatives + falsePositives);
}

double BinaryCounts::precision() const noexcept {
    return ratio(truePositives, truePositives + falsePositives);
}

double BinaryCounts::F1() const noexcept {
    return ratio(2 * truePositives, 2 * truePositives + falsePositives + falseNegatives);
}

double BinaryCounts::balancedAccuracy() const noexcept {
    return 0.5 * (sensitivity() + specificity());
}

double BinaryCounts::MCC() const noexcept {
    if (numRecords() == 0) return std::nan("");
    const double predicted = static_cast<double>(truePositives + falsePositives) *
                             static_cast<double>(trueNegatives + falseNegatives);
    const double actual = static_cast<double>(truePositives + falseNegatives) *
                          static_cast<double>(trueNegatives + falsePositives);
    if (predicted == 0.0 || actual == 0.0) return 0.0;
    const std::int64_t covariance = truePositives * trueNegatives - falsePositives * falseNegatives;
    return static_cast<double>(covariance) / std::sqrt(predicted * actual);
}

ConfusionMatrix::ConfusionMatrix(const IntVector& actual, const IntVector& predicted,
                                 int numClasses)
    : numClasses_(numClasses), numRecords_(static_cast<std::int64_t>(actual.size())) {
    Checks::counts(kOperation, actual.size(), "actual classes", predicted.size(), "predicted");
    Checks::notNegative(kOperation, "number of classes", numClasses);
    Checks::indexes(kOperation, "class", {actual.data(), actual.size()}, numClasses);
    const std::size_t classes = place(numClasses);
    counts_.resize(classes * classes);
    actual_.resize(classes);
    predicted_.resize(classes);
    for (std::uint64_t i = 0; i < actual.size(); ++i) {
        ++actual_[place(actual[i])];
        if (predicted[i] == -1) continue;
        Checks::index(kOperation, "class", predicted[i], numClasses);
        ++predicted_[place(predicted[i])];
        ++counts_[place(actual[i]) * classes + place(predicted[i])];
    }
}

ConfusionMatrix::ConfusionMatrix(const StringVector& actual, const StringVector& predicted) {
    IntVector first;
    IntVector second;
    StringVector classes = codesOf(actual, predicted, first, second);
    const int count = Checks::dimension(kOperation, "classes", classes.size());
    *this = ConfusionMatrix(first, second, count);
    classes_ = std::move(classes);
}

void ConfusionMatrix::checkClass(int cls) const {
    Checks::index(kOperation, "class", cls, numClasses_);
}

std::int64_t ConfusionMatrix::count(int actual, int predicted) const {
    checkClass(actual);
    checkClass(predicted);
    return counts_[place(actual) * place(numClasses_) + place(predicted)];
}

std::int64_t ConfusionMatrix::numActual(int cls) const {
    checkClass(cls);
    return actual_[place(cls)];
}

std::int64_t ConfusionMatrix::numPredicted(int cls) const {
    checkClass(cls);
    return predicted_[place(cls)];
}

std::int64_t ConfusionMatrix::numCorrect() const noexcept {
    std::int64_t correct = 0;
    for (std::size_t k = 0; k < counts_.size(); k += place(numClasses_) + 1) correct += counts_[k];
    return correct;
}

std::int64_t ConfusionMatrix::numWithoutPrediction() const noexcept {
    return numRecords_ - std::accumulate(predicted_.begin(), predicted_.end(), std::int64_t{0});
}

BinaryCounts ConfusionMatrix::oneAgainstRest(int cls) const {
    const std::int64_t both = count(cls, cls);
    const std::int64_t actual = numActual(cls);
    const std::int64_t predicted = numPredicted(cls);
    return {both, actual - both, predicted - both, numRecords_ - actual - predicted + both};
}

double ConfusionMatrix::macroAverage(double (BinaryCounts::*measure)() const noexcept) const {
    double sum = 0.0;
    std::int64_t classes = 0;
    for (int k = 0; k < numClasses_; ++k) {
        if (numActual(k) + numPredicted(k) == 0) continue;
        const BinaryCounts counts = oneAgainstRest(k);
        const double value = (counts.*measure)();
        if (!std::isnan(value)) sum += value;
        ++classes;
    }
    return sum / static_cast<double>(classes);
}

double ConfusionMatrix::accuracy() const noexcept { return ratio(numCorrect(), numRecords_); }

double ConfusionMatrix::balancedAccuracy() const noexcept {
    double sum = 0.0;
    std::int64_t classes = 0;
    for (std::size_t k = 0; k < actual_.size(); ++k) {
        if (actual_[k] == 0) continue;
        sum += ratio(counts_[k * (actual_.size() + 1)], actual_[k]);
        ++classes;
    }
    return sum / static_cast<double>(classes);
}

std::int64_t ConfusionMatrix::chance() const noexcept {
    return std::inner_product(actual_.begin(), actual_.end(), predicted_.begin(), std::int64_t{0});
}

double ConfusionMatrix::kappa() const noexcept {
    const std::int64_t expected = chance();
    return ratio(numCorrect() * numRecords_ - expected, numRecords_ * numRecords_ - expected);
}

double ConfusionMatrix::MCC() const noexcept {
    if (numRecords_ == 0) return std::nan("");
    // Records without a prediction are as if predicted as a further class that none is of.
    const std::int64_t none = numWithoutPrediction();
    const auto spread = [this](const std::vector<std::int64_t>& sizes, std::int64_t further) {
        std::int64_t rest = numRecords_ * numRecords_ - further * further;
        for (const std::int64_t size : sizes) rest -= size * size;
        return static_cast<double>(rest);
    };
    const double variances = spread(actual_, 0) * spread(predicted_, none);
    if (variances == 0.0) return 0.0;
    return static_cast<double>(numCorrect() * numRecords_ - chance()) / std::sqrt(variances);
}

}  // namespace Veltrix

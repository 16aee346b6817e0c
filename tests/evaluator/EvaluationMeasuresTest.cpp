// Measures of classes and numbers, ROC curves, gains and lift: against scikit-learn (origin and
// tolerance in tests/reference/evaluator/README.md), and by counting where it has no such measure.
#include <cmath>
#include <functional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Evaluator/ConfusionMatrix.h"
#include "Veltrix/Evaluator/Metrics.h"
#include "Veltrix/Evaluator/RankedOutcomes.h"
#include "tests/data/MatrixTesting.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Refusals.h"

using namespace Veltrix;
using namespace Veltrix::Testing;

namespace {

constexpr Tolerance kDigits{1e-12, 1e-14};

const ReferenceData& reference() {
    static const ReferenceData data("evaluator/metrics");
    return data;
}

std::vector<double> list(const Vector& values) { return {values.begin(), values.end()}; }

IntVector toIndexes(const std::vector<double>& values) { return {values.begin(), values.end()}; }

/// A case of the reference.
struct Case {
    void expect(const std::string& quantity, double found) const {
        expect(quantity, std::vector<double>{found});
    }
    void expect(const std::string& quantity, const std::vector<double>& found) const {
        EXPECT_TRUE(allNear(found, quantities.vector(quantity), kDigits)) << quantity;
    }
    Vector outcomes(int cls) const {
        Vector result;
        for (const int each : actual) result.push_back(each == cls ? 1.0 : 0.0);
        return result;
    }
    Vector probabilities(int cls) const {
        const auto column = posteriors(Util::all, cls).elements();
        return {column.begin(), column.end()};
    }

    ReferenceData quantities;
    IntVector actual = toIndexes(quantities.vector("actual"));
    IntVector predicted = toIndexes(quantities.vector("predicted"));
    Matrix posteriors = toMatrix(quantities.matrix("posteriors"));
};

TEST(EvaluationMeasures, classesAgreeWithTheReference) {
    for (const char* name : {"binary", "classes", "constant"}) {
        SCOPED_TRACE(name);
        const Case data{reference().part(name)};
        const int classes = data.posteriors.getNumCols();
        const ConfusionMatrix matrix(data.actual, data.predicted, classes);
        data.expect("accuracy", matrix.accuracy());
        data.expect("balanced_accuracy", matrix.balancedAccuracy());
        data.expect("kappa", matrix.kappa());
        data.expect("mcc", matrix.MCC());
        data.expect("log_loss", Metrics::logLoss(data.actual, data.posteriors));
        data.expect("macro", {matrix.macroAverage(&BinaryCounts::precision),
                              matrix.macroAverage(&BinaryCounts::sensitivity),
                              matrix.macroAverage(&BinaryCounts::F1)});
        const std::pair<const char*, std::function<double(int)>> ofClasses[] = {
            // The reference says 0 where nothing was predicted as the class.
            {"precision",
             [&](int k) {
                 return matrix.numPredicted(k) == 0 ? 0.0 : matrix.oneAgainstRest(k).precision();
             }},
            {"sensitivity", [&](int k) { return matrix.oneAgainstRest(k).sensitivity(); }},
            {"specificity", [&](int k) { return matrix.oneAgainstRest(k).specificity(); }},
            {"f1", [&](int k) { return matrix.oneAgainstRest(k).F1(); }},
            {"class_mcc", [&](int k) { return matrix.oneAgainstRest(k).MCC(); }},
            {"brier",
             [&](int k) { return Metrics::brierScore(data.outcomes(k), data.probabilities(k)); }},
            {"auc", [&](int k) {
                 return RankedOutcomes(data.outcomes(k), data.probabilities(k)).area();
             }}};
        for (const auto& [quantity, measure] : ofClasses) {
            std::vector<double> found;
            for (int k = 0; k < classes; ++k) found.push_back(measure(k));
            data.expect(quantity, found);
        }
        const std::vector<double> brier = data.quantities.vector("brier");
        EXPECT_TRUE(isNear(Metrics::brierScore(data.actual, data.posteriors),
                           classes == 2 ? brier[1] : Util::sum(toVector(brier)), kDigits));
        const int last = classes - 1;
        if (classes == 2) {
            data.expect("log_loss", Metrics::logLoss(data.outcomes(1), data.probabilities(1)));
        }
        const RocCurve curve =
            RankedOutcomes(data.outcomes(last), data.probabilities(last)).rocCurve();
        data.expect("roc.fpr", list(curve.falsePositiveRates));
        data.expect("roc.tpr", list(curve.truePositiveRates));
        EXPECT_EQ(curve.cutoffs[0], INFINITY);
        data.expect("roc.cutoffs", {curve.cutoffs.begin() + 1, curve.cutoffs.end()});
    }
}

TEST(EvaluationMeasures, numbersAgreeWithTheReference) {
    for (const std::string name : {"numbers", "large"}) {
        const ReferenceData item = reference().part(name);
        const Vector actual = toVector(item.vector("actual"));
        const Vector predicted = toVector(item.vector("predicted"));
        const std::pair<const char*, double (*)(const Vector&, const Vector&)> measures[] = {
            {"mse", Metrics::MSE},
            {"mae", Metrics::MAE},
            {"mape", Metrics::MAPE},
            {"r2", Metrics::R2}};
        for (const auto& [quantity, measure] : measures) {
            EXPECT_TRUE(isNear(measure(actual, predicted), item.scalar(quantity), kDigits))
                << name << quantity;
        }
        // The steps leave the mean absolute error above them.
        const ErrorCurve curve = Metrics::errorCurve(actual, predicted);
        double above = 0.0;
        for (std::uint64_t i = 1; i < curve.shares.size(); ++i) {
            above += (curve.tolerances[i] - curve.tolerances[i - 1]) * (1 - curve.shares[i - 1]);
        }
        EXPECT_TRUE(isNear(above, Metrics::MAE(actual, predicted), kDigits));
        EXPECT_EQ(curve.shares[curve.shares.size() - 1], 1.0);
    }
}

// Nothing of the class, only the class, nothing predicted, nothing at all.
TEST(EvaluationMeasures, whatCannotBeComputedIsNaN) {
    const ConfusionMatrix one({0, 0, 0}, {0, 0, 0}, 3);
    EXPECT_EQ(one.accuracy(), 1.0);
    EXPECT_EQ(one.balancedAccuracy(), 1.0);
    EXPECT_TRUE(std::isnan(one.kappa()));
    EXPECT_EQ(one.MCC(), 0.0);
    EXPECT_EQ(one.macroAverage(&BinaryCounts::F1), 1.0);
    EXPECT_EQ(one.oneAgainstRest(2).specificity(), 1.0);
    EXPECT_TRUE(std::isnan(one.oneAgainstRest(1).sensitivity()));
    EXPECT_TRUE(std::isnan(one.oneAgainstRest(1).F1()));
    const ConfusionMatrix none({}, {}, 2);
    for (const double measure :
         {none.accuracy(), none.balancedAccuracy(), none.kappa(), none.MCC(),
          none.oneAgainstRest(0).MCC(), Metrics::logLoss({}, Matrix(0, 2)),
          none.macroAverage(&BinaryCounts::precision), Metrics::brierScore(Vector(), Vector()),
          Metrics::MAE({}, {}), RankedOutcomes({1, 1}, {0.2, 0.3}).area(), RankedOutcomes().area(),
          RankedOutcomes({1}, {NAN}).area(), Metrics::R2({2, 2}, {1, 3}), Metrics::MAPE({0}, {0}),
          Metrics::logLoss(Vector{1}, Vector{NAN})}) {
        EXPECT_TRUE(std::isnan(measure));
    }
    EXPECT_EQ(Metrics::MAPE({0, 1}, {1, 1}), INFINITY);
    EXPECT_EQ(RankedOutcomes().lift().records.size(), 0U);
    EXPECT_EQ(
        RankedOutcomes(Vector(9, 1.0), {1, 2, 3, 4, 5, 6, 7, 8, 9}).rocCurve(6).cutoffs.size(), 3U);
    EXPECT_TRUE(
        isNear(Metrics::logLoss(IntVector{-1}, Matrix(1, 2, 0.5)), -std::log(2.2204e-16), {1e-5}));
    // Without a prediction: an error of the class, as if predicted as a class of its own.
    const ConfusionMatrix missing({0, 0, 1, 1}, {0, -1, 1, 0}, 2);
    const ConfusionMatrix further({0, 0, 1, 1}, {0, 2, 1, 0}, 3);
    EXPECT_EQ(missing.numWithoutPrediction(), 1);
    EXPECT_EQ(missing.oneAgainstRest(0).sensitivity(), 0.5);
    EXPECT_EQ(missing.kappa(), further.kappa());
    EXPECT_EQ(missing.MCC(), further.MCC());
    EXPECT_EQ(ConfusionMatrix({L"b", L"a"}, {L"b", L"c"}).getClasses(),
              (StringVector{L"a", L"b", L"c"}));
}

TEST(EvaluationMeasures, badArgumentsAreRefused) {
    expectRefused({
        {"Confusion matrix: class -2 of 2, counted from 0", [] { ConfusionMatrix({0}, {-2}, 2); }},
        {"Log loss: class 2 of 2, counted from 0",
         [] { (void)Metrics::logLoss({2}, Matrix(1, 2)); }},
        {"ROC curve: an outcome is neither 0 nor 1, successes and others expected",
         [] { (void)RankedOutcomes({2}, {1}).rocCurve(); }},
        {"Ranked outcomes: outcome 0 is not finite", [] { RankedOutcomes({NAN}, {1}); }},
        {"Lift: 0 groups, at least 1 expected", [] { (void)RankedOutcomes().lift(0); }},
    });
}

// Scores 3 and 1 are tied: 2 of 4 records and 1 of 3, whose successes spread evenly.
TEST(EvaluationMeasures, gainsAndLiftSpreadTies) {
    const RankedOutcomes ranked({1, 0, 1, 0, 1, 0, 0, 0}, {3, 3, 3, 3, 1, 1, 1, NAN});
    const LiftTable table = ranked.lift(3);
    EXPECT_EQ(list(table.records), (std::vector<double>{2, 2, 3}));
    EXPECT_EQ(list(table.lowestScores), (std::vector<double>{3, 3, 1}));
    EXPECT_EQ(list(table.totals), (std::vector<double>{1, 1, 1}));
    EXPECT_TRUE(allNear(table.lifts, std::vector<double>{7.0 / 6, 7.0 / 6, 7.0 / 9}, kDigits));
    EXPECT_TRUE(allNear(table.cumulativeShares, std::vector<double>{1.0 / 3, 2.0 / 3, 1}, kDigits));
    EXPECT_TRUE(allNear(table.cumulativeLifts, std::vector<double>{7.0 / 6, 7.0 / 6, 1}, kDigits));
    EXPECT_TRUE(isNear(ranked.totalOfFirst(5), 2 + 1.0 / 3, kDigits));
    EXPECT_EQ(ranked.lift(100).records.size(), 7U);
    // Any numbers: the largest are expected first.
    EXPECT_EQ(list(RankedOutcomes({-1, 5, 2}, {1, 3, 2}).lift(3).totals),
              (std::vector<double>{5, 2, -1}));
    EXPECT_TRUE(std::isnan(RankedOutcomes({-1, 1}, {1, 2}).lift(2).lifts[0]));
}

TEST(EvaluationMeasures, curvesAreThinnedEvenly) {
    Vector outcomes, scores;
    for (int i = 0; i < 5000; ++i) {
        outcomes.push_back((i * 7919) % 3 == 0 ? 1.0 : 0.0);
        scores.push_back(std::sin(i));
    }
    const RocCurve curve = RankedOutcomes(outcomes, scores).rocCurve(100);
    EXPECT_LE(curve.cutoffs.size(), 101U);
    for (std::uint64_t i = 1; i < curve.cutoffs.size(); ++i) {
        EXPECT_LT(curve.falsePositiveRates[i] - curve.falsePositiveRates[i - 1], 0.03);
    }
    EXPECT_EQ(curve.falsePositiveRates[curve.cutoffs.size() - 1], 1.0);
    EXPECT_LE(Metrics::errorCurve(outcomes, scores, 100).shares.size(), 102U);
}

}  // namespace

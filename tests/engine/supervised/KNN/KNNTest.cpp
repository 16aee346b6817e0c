// Nearest neighbours: reference values, special records, bad input and storage.
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/data/RandomValues.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Classifier = Engine::Classification::KNN::Model;
using Regressor = Engine::Regression::KNN::Model;
using KNearestNeighbors::WeightingScheme;
constexpr auto kEqual = WeightingScheme::equalVotes;
constexpr auto kInverse = WeightingScheme::inverseDistance;
constexpr Tolerance kWithin{0.0, 1e-10};

Vector numbers(const DataFrame& frame) { return Convert::toDoubleVector(frame); }

/// A reference case: the first rows of its data train, the others are scored.
struct Case {
    explicit Case(const std::string& name)
        : reference("learners/" + name + ".knn"), data("learners/" + name + ".csv") {
        const Matrix x = columnsOf(data, reference.texts("predictors"));
        const int n = static_cast<int>(reference.scalar("training_rows"));
        training = Util::range(0, n);
        rest = Util::range(n, x.getNumRows());
        features = x(training, Util::all);
        records = x(rest, Util::all);
        records.setName(L"rest");
    }
    /// A column of the data, called by what the reference calls it.
    DataFrame column(const std::string& role, const IntVector& rows) const {
        DataFrame frame;
        frame.append(toStrings(data.texts(reference.text(role))));
        return frame(rows, Util::all);
    }
    /// Runs compare(item, k, ties, scheme) for every entry of a list of the reference.
    template <class Compare>
    void forEach(const std::string& list, const char* k, Compare compare) const {
        for (const ReferenceData& item : reference.parts(list, k)) {
            compare(item, item.integer(k), item.integer("include_ties") == 1,
                    static_cast<WeightingScheme>(item.integer("scheme")));
        }
    }
    template <class Model, class Actual>
    void expectSearches(const Model& model, const Actual& actual, const std::string& errors) const {
        forEach("searches", "max_k", [&](const auto& item, int maxK, bool ties, auto scheme) {
            const auto info = model.kSearch(records, actual, maxK, ties, false, scheme);
            EXPECT_TRUE(allNear(numbers(info.searchLog), item.vector(errors), kWithin));
            EXPECT_EQ(info.bestK, item.integer("best_k"));
        });
    }

    ReferenceData reference;
    CsvData data;
    IntVector training, rest;
    Matrix features, records;
};

TEST(KNN, ClassificationReferences) {
    for (const std::string name : {"iris_tenths", "painters_weighted", "pima_small"}) {
        const Case given(name);
        Classifier model;
        if (name == "pima_small") {
            model.setPrior(L"No", 0.5).setPrior(L"Yes", 0.5).setSuccessClass(L"Yes");
            model.setSuccessProbabilityCutoff(given.reference.scalar("cutoff"));
        }
        const DataFrame labels = given.column("class", given.training);
        const DataFrame x = Convert::toDataFrame(given.features);
        if (name == "painters_weighted") {
            const DataFrame weights = given.column("weights", given.training);
            model.fit(x, labels(Util::all, 0), weights(Util::all, 0));
        } else {
            model.fit(x, labels(Util::all, 0));
        }
        EXPECT_EQ(model.getClasses(), toStrings(given.reference.texts("classes")));
        EXPECT_TRUE(
            allNear(model.getPriorVector(), given.reference.vector("priors"), {1e-14, 0.0}));
        EXPECT_TRUE(allNear(model.getWeights(), given.reference.vector("normalized_weights"),
                            {1e-13, 0.0}));
        given.forEach("scores", "k", [&](const auto& item, int k, bool ties, auto scheme) {
            const auto found = model.posteriorProbability(given.records, k, ties, true, scheme);
            EXPECT_EQ(found.getName(), L"Posterior Probability: rest");
            EXPECT_EQ(found.getColNames(), model.getClasses());
            EXPECT_TRUE(
                allNear(rowsOf(Convert::toMatrix(found)), item.flattened("posterior"), kWithin))
                << name;
        });
        given.expectSearches(model, Convert::toStringVector(given.column("class", given.rest)),
                             "misclassified_percent");
    }
}

TEST(KNN, RegressionReferences) {
    const Case given("stackloss_knn");
    const Vector response = numbers(given.column("response", given.training));
    Regressor model;
    model.fit(given.features, response);
    EXPECT_EQ(model.getWeights(), Vector(response.size(), 1.0));
    given.forEach("scores", "k", [&](const auto& item, int k, bool ties, auto scheme) {
        const DataFrame scores = model.predict(given.records, k, ties, false, scheme);
        EXPECT_EQ(scores.getName(), L"Scores: rest");
        EXPECT_EQ(scores.getColName(0), L"Prediction");
        EXPECT_TRUE(allNear(numbers(scores), item.vector("prediction"), kWithin));
    });
    given.expectSearches(model, numbers(given.column("response", given.rest)), "rmse");
}

// Points on a line; distances from 0 are 0, 1, 1, 4, 9.
const Matrix kLine(5, 1, Vector{0, 1, -1, 2, 3});
const StringVector kLabels{L"a", L"b", L"c", L"b", L"a"};

TEST(KNN, SpecialRecords) {
    Classifier model;
    model.setClasses(StringVector{L"c", L"b", L"a", L"none"}).fit(kLine, kLabels);
    const auto posterior = [&](double at, int k, bool ties, bool skipNaN, WeightingScheme scheme) {
        return numbers(model.posteriorProbability(Matrix(1, 1, at), k, ties, skipNaN, scheme));
    };
    const Tolerance within{1e-14, 0.0, NaNRule::EqualsNaN};
    const Vector none(4, kNaN);
    const struct {
        Vector found, expected;
    } cases[] = {
        // An exact match takes the whole vote.
        {posterior(0, 3, false, false, kInverse), {0, 0, 1, 0}},
        // The tie at the second place: the earlier record, or both.
        {posterior(0, 2, false, false, kEqual), {0, 0.5, 0.5, 0}},
        {posterior(0, 2, true, false, kEqual), {1.0 / 3, 1.0 / 3, 1.0 / 3, 0}},
        {posterior(0, 9, false, false, WeightingScheme::unspecified), {0.2, 0.4, 0.4, 0}},
        // Distances 1, 4 and 9 from 4: weights 1, 1/4 and 1/9.
        {posterior(4, 3, false, false, kInverse), {0, 13.0 / 49, 36.0 / 49, 0}},
        // Without a distance the first records count, or none.
        {posterior(kNaN, 1, false, false, kEqual), {0, 0, 1, 0}},
        {posterior(kNaN, 1, false, false, kInverse), none},
        // Without any neighbour nobody votes.
        {posterior(kNaN, 1, false, true, kEqual), {0, 0, 0, 0}},
    };
    for (const auto& [found, expected] : cases) EXPECT_TRUE(allNear(found, expected, within));
    // Records of weight 0 have no vote, and without any weight there is no answer.
    model.setWeights({}).setPrior(Classifier::PriorMap());
    model.fit(kLine, kLabels, Vector{0, 0, 1, 0, 0});
    EXPECT_EQ(posterior(0, 5, false, false, kEqual), (Vector{1, 0, 0, 0}));
    EXPECT_TRUE(allNear(posterior(0, 1, false, false, kEqual), none, within));
    // Beyond the number of records the errors stay.
    Regressor regressor;
    regressor.fit(kLine, Vector{1, 2, 4, 8, 16});
    const auto search = regressor.kSearch(Matrix(1, 1), Vector{1.5}, 7, true, false, kEqual);
    EXPECT_TRUE(allNear(numbers(search.searchLog),
                        Vector{0.5, 2.5 / 3, 2.5 / 3, 2.25, 4.7, 4.7, 4.7}, within));
    EXPECT_EQ(search.searchLog(L"7", L"RMSE").toDouble(), search.searchLog(4, 0).toDouble());
    // Labels are compared with case; those without neighbours are predicted by the priors.
    const Classifier lower = Classifier().fit(Matrix(3, 1, 5.0), {L"a", L"b", L"b"});
    const Matrix two(2, 1, Vector{5, kNaN});
    const auto classes = lower.kSearch(two, {L"A", L"b"}, 1, false, true, kEqual);
    EXPECT_EQ(classes.searchLog(0, 0).toDouble(), 50.0);
    // Before a fit nothing is known, of the length asked for.
    const auto unfitted = Regressor().kSearch(two, Vector(2), 3, true, false, kEqual);
    EXPECT_EQ(unfitted.bestK, 0);
    EXPECT_TRUE(allNear(numbers(unfitted.searchLog), Vector(3, kNaN), within));
    EXPECT_TRUE(allNear(numbers(Regressor().predict(two, 3, true, false, kEqual)), Vector(2, kNaN),
                        within));
}

Vector scored(const Classifier& model, const Matrix& records, int k) {
    return numbers(model.posteriorProbability(records, k, true, false, kInverse));
}

TEST(KNN, BadInputIsRefused) {
    Classifier m;
    m.fit(kLine, kLabels);
    Classifier half = m;
    half.setTrainingFeatures(Matrix(3, 1));
    const WString before = m.toJson();
    const Vector negative{1, -1, 1, 1, 1};
    const Vector infinite{1 / 0.0, 1, 1, 1, 1};
    const StringVector one(1);
    expectRefused({
        {"0 neighbours (k), at least 1", [&] { scored(m, kLine, 0); }},
        {"-1 neighbours (maxK)", [&] { m.kSearch(kLine, kLabels, -1, true, false, kEqual); }},
        {"2 columns, 1 expected", [&] { scored(m, Matrix(1, 2), 1); }},
        {"1 actual values, 5", [&] { m.kSearch(kLine, one, 1, true, false, kEqual); }},
        {"the model is not fitted", [] { scored(Classifier(), kLine, 1); }},
        {"0 training records", [] { Regressor().fit(Matrix(), Vector()); }},
        {"4 responses, 5 expected", [&] { m.fit(kLine, StringVector(4)); }},
        {"3 weights, 5", [&] { m.fit(kLine, kLabels, Vector(3)); }},
        {"5 weights, 4", [&] { m.fit(Matrix(4, 1), StringVector(4, L"a")); }},
        {"record 1 is -1", [&] { m.fit(kLine, kLabels, negative); }},
        {"record 0 is inf", [&] { m.fit(kLine, kLabels, infinite); }},
        {"5 responses, 3 expected", [&] { scored(half, kLine, 1); }},
    });
    EXPECT_THROW(m.fit(kLine, StringVector(5, L"d")), std::out_of_range);
    EXPECT_EQ(m.toJson(), before);
}

TEST(KNN, StoredModelsAnswerAsBefore) {
    const Matrix x(5, 2, Vector{0, 1, -1, 2, 3, 5, 6, 7, 8, 9});
    const DataFrame training = Convert::toDataFrame(x, {L"first", L"second"});
    DataFrame response;
    response.append(kLabels);
    Classifier model;
    model.setPrior(L"a", 0.7).setPrior(L"b", 0.2).setPrior(L"c", 0.1).setSuccessClass(L"b");
    model.fit(training, response(Util::all, 0));
    Classifier restored;
    restored.fromJsonString(model.toJson());
    EXPECT_EQ(scored(restored, x, 3), scored(model, x, 3));
    // Columns in another order are matched by name, unless the fit was on a matrix.
    const DataFrame swapped = training(Util::all, IntVector{1, 0});
    const auto ofFrame = [](const Classifier& m, const DataFrame& frame) {
        return numbers(m.posteriorProbability(frame, 2, true, false, kInverse));
    };
    EXPECT_EQ(ofFrame(restored, swapped), ofFrame(model, training));
    const auto found = restored.kSearch(swapped, response(Util::all, 0), 2, true, false, kInverse);
    EXPECT_EQ(found.searchLog(0, 0).toDouble(), 0.0);
    EXPECT_NE(ofFrame(restored.setTrainingFeatures(x), swapped), ofFrame(model, training));
    // A second fit keeps classes, priors and weights.
    restored.fit(x, StringVector(5, L"b"));
    EXPECT_TRUE(isNear(Util::sum(restored.getWeights()), restored.getPrior(L"b"), {1e-14, 0.0}));
    expectDamageRefused(model, {{"[0,1,2,1,0]", "[0,1,2,1,3]", "response"}});
}

TEST(KNN, QueriesReportAndEndWhenAsked) {
    const Matrix x = Util::gaussianMatrix(30000, 20, MatrixOrderType::columnMajor, 0.0, 1.0, 1);
    Regressor model;
    model.fit(x, Vector(30000, 1.0));
    expectCancelled(model, "Finding neighbours",
                    [&](Regressor& m) { m.predict(x, 5, true, false, kInverse); });
}

}  // namespace
}  // namespace Veltrix::Testing

// Naive Bayes against results computed elsewhere (origin and tolerances in
// tests/reference/learners/README.md), and what the references do not have.
#include <cmath>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/NaiveBayes.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using namespace Classification::NaiveBayes::Engine;

const Tolerance kDigits{1e-11, 0.0, NaNRule::EqualsNaN};

WString wide(const std::string& text) { return WString::fromUtf8(text); }

/// A column of texts.
DataFrame frame(const wchar_t* name, const StringVector& cells) {
    DataFrame result;
    result.append(cells, name);
    return result;
}

const Model::ClassValues kEven{{L"a", 0.5}, {L"b", 0.5}};

Model trained(const DataFrame& features, const StringVector& classes, double alpha,
              const Model::ClassValues& priors = kEven) {
    const DataFrame target = frame(L"", classes);
    return frequencyToPriorConditionalProbability(
        computeFrequency(features, target(Selection::all, 0), alpha, priors));
}

class NaiveBayesReference : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Learners, NaiveBayesReference,
                         testing::Values("birthwt_nb", "haireyecolor"));

TEST_P(NaiveBayesReference, countsProbabilitiesAndScores) {
    const ReferenceData reference(std::string("learners/") + GetParam() + ".naivebayes");
    const CsvData data("learners/" + reference.text("data"));
    const StringVector classes = toStrings(reference.texts("classes"));
    Model::ClassValues priors;
    for (std::size_t c = 0; c < classes.size(); ++c) {
        priors[classes[c]] = reference.vector("priors")[c];
    }
    DataFrame features;
    DataFrame records;
    const auto names = reference.texts("features");
    const std::size_t numRecords = reference.matrix("log_posterior").rows;
    const auto scored = reference.flattenedTexts("scored_records");
    for (std::size_t f = 0; f < names.size(); ++f) {
        features.append(toStrings(data.texts(names[f])), wide(names[f]));
        // To be scored in another order.
        const std::size_t place = names.size() - 1 - f;
        StringVector cells;
        for (std::size_t i = 0; i < numRecords; ++i) {
            cells.push_back(wide(scored.at(i * names.size() + place)));
        }
        records.append(cells, wide(names[place]));
    }
    const DataFrame target = frame(L"", toStrings(data.texts(reference.text("class"))));
    const Model counts =
        computeFrequency(features, target(Selection::all, 0), reference.scalar("alpha"), priors);
    const Model model = frequencyToPriorConditionalProbability(counts);
    std::size_t entries = 0;
    for (const auto& feature : model.featureValueClassCount) entries += feature.second.size();
    const auto items = reference.parts("conditional", "feature");
    EXPECT_EQ(items.size(), entries);
    for (const ReferenceData& item : items) {
        const WString feature = wide(item.text("feature"));
        const WString category = wide(item.text("category"));
        std::vector<double> found, shares;
        for (const WString& cls : classes) {
            found.push_back(counts.featureValueClassCount.at(feature).at(category).at(cls));
            shares.push_back(model.featureValueClassCount.at(feature).at(category).at(cls));
        }
        EXPECT_EQ(found, item.vector("counts"));
        EXPECT_TRUE(allNear(shares, item.vector("probabilities"), kDigits));
    }
    const LogPosterioriInfo logs = computeLogPosteriori(model, records);
    EXPECT_EQ(logs.classIndexes.at(classes[1]), 1);
    const PosteriorProbabilityInfo info = computePosteriorProbability(model, records, true);
    EXPECT_TRUE(allNear(rowsOf(logs.logPosteriors), reference.flattened("log_posterior"), kDigits));
    EXPECT_TRUE(allNear(rowsOf(info.posteriors), reference.flattened("posterior"), kDigits));
    EXPECT_TRUE(allNear(info.logLikelihoods, reference.vector("log_likelihood"), kDigits));
    const auto unknown =
        reference.has("unknown_rows") ? reference.vector("unknown_rows") : std::vector<double>();
    EXPECT_EQ(std::vector<double>(info.unknownRows.begin(), info.unknownRows.end()), unknown);
}

TEST(NaiveBayes, numbersAreCategoriesByTheirText) {
    DataFrame features;
    features.append(Vector{0.1, 0.1, -0.0, NAN, 0.0, 1e300});
    features.append(IntVector{3, 100000, 3, 3, 100000, -3});
    features.setColNames({L"x", L"k"});
    const StringVector classes{L"a", L"a", L"a", L"b", L"b", L"b"};
    const Model model = trained(features, classes, 1.0);
    EXPECT_EQ(model.featureValueClassCount.at(L"x").size(), 5U);
    EXPECT_EQ(model.featureValueClassCount.at(L"x").at(L"0.1").at(L"a"), 3.0 / 8);
    EXPECT_EQ(model.featureValueClassCount.at(L"k").at(L"100000").at(L"b"), 2.0 / 6);
    // The same records as texts, with one that no text of a number is.
    DataFrame texts;
    texts.append({L"0.1", L"0.1", L"-0", L"nan", L"0", L"1e+300", L"0.10"}, L"x");
    texts.append({L"3", L"100000", L"3", L"3", L"100000", L"-3", L"3"}, L"k");
    const LogPosterioriInfo numbers = computeLogPosteriori(model, features);
    const LogPosterioriInfo other = computeLogPosteriori(model, texts);
    EXPECT_TRUE(numbers.unknownRows.empty());
    EXPECT_EQ(other.unknownRows, IntVector{6});
    const Vector rows = rowsOf(other.logPosteriors);
    EXPECT_EQ(rowsOf(numbers.logPosteriors), Vector(rows.begin(), rows.end() - 2));
}

// Long columns are read in another way.
TEST(NaiveBayes, scoresManyRecordsAsFew) {
    DataFrame few;
    few.append(Vector{1, 2.5, 7, 1});
    const Model model = trained(few, {L"a", L"b", L"b", L"a"}, 1.0);
    const auto expected = computePosteriorProbability(model, few, false);
    DataFrame many;
    many.append(Vector((1U << 20U) + 1, 2.5));
    many(3, 0) = 4.0;
    const auto scored = computePosteriorProbability(model, many, false);
    EXPECT_EQ(scored.unknownRows, IntVector(1, 3));
    for (const int row : {0, 1 << 20}) {
        EXPECT_DOUBLE_EQ(scored.posteriors(row, 1), expected.posteriors(1, 1));
    }
}

TEST(NaiveBayes, withoutSmoothingAndWithManyFeatures) {
    const DataFrame features = frame(L"f", {L"u", L"u", L"v", L"w"});
    const StringVector classes{L"a", L"b", L"a", L"b"};
    const Model model = trained(features, classes, 0.0);
    EXPECT_EQ(model.featureValueClassCount.at(L"f").at(L"v").at(L"b"), 0.0);
    PosteriorProbabilityInfo info = computePosteriorProbability(model, features, true);
    EXPECT_EQ(rowsOf(info.posteriors), (Vector{0.5, 0.5, 0.5, 0.5, 1, 0, 0, 1}));
    EXPECT_NEAR(info.logLikelihoods[2], std::log(0.25), 1e-15);
    // 3000 features, each with a probability of 1/4 or 3/4: far below the smallest double.
    Model wide;
    DataFrame record;
    for (int k = 0; k < 3000; ++k) {
        const WString name = Convert::toString(k);
        wide.setFeatureValueClassCount(name, L"u", L"a", 0.25);
        wide.setFeatureValueClassCount(name, L"u", L"b", k == 0 ? 0.75 : 0.25);
        record.append({L"u"}, name);
    }
    wide.setTargetCount(L"a", 4).setTargetCount(L"b", 4).setPriorProbs(kEven);
    wide.state = Model::kProbabilities;
    info = computePosteriorProbability(wide, record, true);
    EXPECT_TRUE(allNear(rowsOf(info.posteriors), Vector{0.25, 0.75}, {1e-10}));
    EXPECT_NEAR(info.logLikelihoods[0], 2999 * std::log(0.25) + std::log(0.5), 1e-8);
    EXPECT_EQ(wide.getFeatures().size(), 3000U);
}

TEST(NaiveBayes, statesAndBadInput) {
    const DataFrame features = frame(L"f", {L"u", L"v", L"u"});
    const DataFrame target = frame(L"", {L"a", L"b", L"a"});
    const DataFrame one = frame(L"", {L"a", L"a", L"a"});
    const auto classes = target(Selection::all, 0);
    EXPECT_THROW((void)computeFrequency(features, one(Selection::all, 0), 1.0, kEven),
                 Engine::UnaryResponseVariable);
    for (const double alpha : {-0.5, std::nan(""), HUGE_VAL}) {
        EXPECT_THROW((void)computeFrequency(features, classes, alpha, kEven), Exception);
    }
    EXPECT_THROW((void)computeFrequency(frame(L"f", {L"u"}), classes, 1.0, kEven), Exception);
    const Model counts = computeFrequency(features, classes, 1.0, kEven);
    EXPECT_EQ(counts.featureValueClassCount.at(L"f").at(L"u").at(L"b"), 0.0);
    EXPECT_TRUE(computeLogPosteriori(counts, features).logPosteriors.empty());
    EXPECT_TRUE(computePosteriorProbability(counts, frame(L"g", {L"u"}), true).posteriors.empty());
    const Model model = frequencyToPriorConditionalProbability(counts);
    EXPECT_EQ(frequencyToPriorConditionalProbability(model).toJson(), model.toJson());
    // A column renamed, one too many, a class without a prior or without a probability.
    DataFrame more = features;
    more.append({L"u", L"u", L"u"}, L"g");
    Model withoutPrior = model;
    withoutPrior.priorProbs.erase(L"b");
    Model incomplete = model;
    incomplete.featureValueClassCount.at(L"f").at(L"v").erase(L"a");
    EXPECT_EQ(computeLogPosteriori(incomplete, frame(L"f", {L"u"})).unknownRows.size(), 0U);
    const std::pair<const Model*, DataFrame> cases[] = {{&model, frame(L"g", {L"u"})},
                                                        {&model, more},
                                                        {&model, DataFrame()},
                                                        {&withoutPrior, features},
                                                        {&incomplete, features}};
    for (const auto& [scoring, records] : cases) {
        const auto score = [&model = *scoring, &of = records] {
            (void)computePosteriorProbability(model, of, false);
        };
        EXPECT_THAT(score,
                    testing::ThrowsMessage<std::out_of_range>("invalid unordered_map<K, T> key"));
    }
}

// A model that a host put together, with a value of one class only, is stored as it is.
TEST(NaiveBayes, incompleteModelsAreStored) {
    Model model;
    model.setFeatureValueClassCount(L"f", L"u", L"a", 2)
        .setFeatureValueClassCount(L"f", L"v", L"b", NAN);
    model.setTargetCount(L"c", 3).setPriorProbs({{L"d", 1.0}});
    Model read;
    read.fromJsonString(model.toJson());
    EXPECT_EQ(read.featureValueClassCount.at(L"f").at(L"u"), (Model::ClassValues{{L"a", 2.0}}));
    EXPECT_TRUE(std::isnan(read.featureValueClassCount.at(L"f").at(L"v").at(L"b")));
    EXPECT_EQ(read.featureValueClassCount.at(L"f").at(L"v").count(L"a"), 0U);
    EXPECT_EQ(read.targetCount, model.targetCount);
    EXPECT_EQ(read.priorProbs, model.priorProbs);
}

}  // namespace
}  // namespace Veltrix::Testing

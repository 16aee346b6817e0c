// Whatever allocation fails, alone or with all later ones, the engine's objects are as they were.
#include <algorithm>
#include <functional>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Exports.h"
#include "Veltrix/Veltrix.h"
#include "tests/support/FailingAllocations.h"

namespace Veltrix::Testing {
namespace {

constexpr auto kInverse = KNearestNeighbors::WeightingScheme::inverseDistance;

/// Longer than what a string keeps in itself.
const wchar_t* const kLow = L"a class of low values and long name";
const wchar_t* const kHigh = L"a class of high values and long name";
const wchar_t* const kOther = L"a class that has a long name as well";
const Vector kWeights(12, 2.0);

/// Twelve records of two numbers, the first of them once more, and of a text; the classes and the
/// numbers that follow from them.
struct Data {
    Matrix x{12, 3};
    StringVector labels;
    Vector codes, numbers;
    DataFrame numeric, mixed, responses;

    explicit Data(double shift) {
        StringVector texts;
        for (int i = 0; i < 12; ++i) {
            x(i, 0) = x(i, 2) = i + (i == 0 ? shift : 0.0);
            x(i, 1) = i * (i + 5) % 3;
            const bool high = (i * 5 + 3) % 12 > 5;
            labels.push_back(high ? kHigh : kLow);
            codes.push_back(high ? 1 : 0);
            numbers.push_back(shift + i * i % 7);
            texts.push_back(x(i, 1) > 1 ? kOther : x(i, 1) > 0 ? kHigh : kLow);
        }
        numeric = Convert::toDataFrame(x, {L"the first column of numbers", L"the second", L"c"});
        mixed = numeric(Util::all, IntVector{0});
        mixed.append(texts, L"a column of texts with a long name");
        responses.append(labels, L"a response of classes, named at length");
        responses.append(numbers);
    }
};

const Data kData(0.0);
const Data kMore(0.5);
const ConstDataFrameColumn kClasses = kMore.responses(Util::all, 0);
const ConstDataFrameColumn kNumbers = kMore.responses(Util::all, 1);

const auto kSameText = [](const auto& a, const auto& b) { return a.toJson() == b.toJson(); };

/// The steps, and those that all stored models have.
template <class Model, class Same = decltype(kSameText)>
void surviveStored(const Model& model, const Model& other, Steps<Model> steps,
                   Same same = kSameText) {
    const WString text = other.toJson();
    steps.emplace_back("assignment", [&](Model& m) { m = other; });
    steps.emplace_back("writing", [](Model& m) { m.toJson(); });
    steps.emplace_back("reading", [&](Model& m) { m.fromJsonString(text); });
    surviveAll(model, steps, same);
}

TEST(AllocationFailures, LinearRegression) {
    using Regression = Engine::LinearModel::OLS::Model;
    const auto judge = [](Regression& m) {
        const Vector fitted = m.predict(kData.numeric);
        m.computeDiagnostics(m.computeResiduals(kData.numbers, fitted).raw);
        m.computeNewPredictionIntervals(kData.x, fitted, 0.9);
        m.computeFittedMulticollinearity(kData.x);
        m.computeCoefficientInfo(0.9);
    };
    const Regression model = Regression().fit(kData.x, kData.numbers, kWeights, true);
    const Regression other = Regression().fit(kMore.numeric, kNumbers, false);
    for (const Regression& from : {model, Regression()}) {
        surviveStored(from, other,
                      {{"fit", [](auto& m) { m.fit(kMore.x, kMore.numbers, kWeights, true); }},
                       {"fit a frame", [](auto& m) { m.fit(kMore.numeric, kNumbers, true); }},
                       {"weights", [](auto& m) { m.setWeights(Vector(30, 2.0)); }},
                       {"judge", judge}});
    }
}

TEST(AllocationFailures, LogisticRegression) {
    using Logistic = Engine::LinearModel::Logistic::Model;
    DataFrame codes;
    codes.append(kMore.codes);
    const ConstDataFrameColumn column = codes(Util::all, 0);
    const auto judge = [](Logistic& m) {
        m.posteriorProbability(kData.numeric);
        m.computeCoefficientInfo(kData.x, 0.9);
        m.computeFittedMulticollinearity(kData.x);
    };
    const Logistic model = Logistic().fit(kData.x, kData.codes, kWeights, 5, true);
    const Logistic other = Logistic().fit(kMore.numeric, column, 5, false);
    for (const Logistic& from : {model, Logistic()}) {
        surviveStored(from, other,
                      {{"fit", [](auto& m) { m.fit(kMore.x, kMore.codes, kWeights, 5, true); }},
                       {"fit a frame", [&](auto& m) { m.fit(kMore.numeric, column, 5, true); }},
                       {"weights", [](auto& m) { m.setWeights(Vector(30, 2.0)); }},
                       {"judge", judge}});
    }
}

TEST(AllocationFailures, FeatureSelection) {
    using namespace Engine::LinearModel::FeatureSelection;
    History history(true, 12, 3);
    history.recordSubset({0, 2}, 4.0);
    history.addVariable(1, 3.0);
    const History other(false, 7, 20);
    const auto search = [](Algorithm algorithm) {
        return [algorithm](History& h) {
            h = Engine::LinearModel::OLS::Model::featureSelection(algorithm, kData.numeric,
                                                                  kNumbers, kNumbers, true, nullptr,
                                                                  nullptr, nullptr, nullptr, 2);
        };
    };
    surviveAll(history,
               Steps<History>{{"add", [](auto& h) { h.addVariable(1, 2.0); }},
                              {"remove", [](auto& h) { h.removeVariable(1, 2.0); }},
                              {"subset",
                               [](auto& h) {
                                   h.recordSubset({1, 2}, 2.0);
                               }},
                              {"full", [](auto& h) { h.recordFullModel(1.0); }},
                              {"filter", [](auto& h) { h.filterSubsets(1); }},
                              {"assignment", [&](auto& h) { h = other; }},
                              {"best", search(Algorithm::bestSubsets)},
                              {"stepwise", search(Algorithm::stepwiseRegression)}},
               [](const History& a, const History& b) {
                   return a.getSizes() == b.getSizes() && a.getStatistics() == b.getStatistics() &&
                          a.getSubsets().equalTo(b.getSubsets(), 0.0);
               });
}

TEST(AllocationFailures, EncoderAndReducer) {
    using Engine::CatReducer;
    using Engine::Encoder;
    Encoder encoder;
    Encoder other;
    const Encoder::CategoryMap map = Encoder::getCatColMapping(kData.labels);
    surviveStored(encoder.fit(kData.mixed), other.fit(kMore.responses),
                  {{"fit", [](auto& e) { e.fit(kMore.responses); }},
                   {"transform", [](auto& e) { e.transform(kMore.mixed); }},
                   {"one mapping", [&](auto& e) { e.setMapping(kOther, map); }},
                   {"mappings", [&](auto& e) { e.setMapping(other.getMapping()); }}});
    CatReducer reducer;
    CatReducer fitted;
    surviveStored(reducer.setMapping(kLow, 3), fitted.fit(kData.labels),
                  {{"fit", [](auto& r) { r.fit(kData.labels); }},
                   {"mapper", [&](auto& r) { r.setMapper(fitted.getMapper()); }},
                   {"mapping", [](auto& r) { r.setMapping(kOther, 4); }}});
}

template <class Sampler>
void surviveDraws(const Sampler& sampler, const Sampler& other, Steps<Sampler> steps = {}) {
    steps.emplace_back("draw", [](Sampler& s) { s.setSeed(s.getSeed()).sample(); });
    steps.emplace_back("assignment", [&](Sampler& s) { s = other; });
    surviveAll(sampler, steps, [](Sampler a, Sampler b) {
        return a.getSample() == b.getSample() && a.sample() == b.sample();
    });
}

TEST(AllocationFailures, Samplers) {
    using namespace Engine::Sampling;
    ScalableSRS simple(1000, 100);
    simple.sample();
    surviveDraws(ScalableSRS(50, 20), simple);
    surviveDraws(Partitioning(200, 0.5), Partitioning());
    StratifiedSRS texts;
    texts.setData(kData.mixed(Util::all, IntVector{1})).setSampleSize(5).sample();
    StratifiedSRS numbers;
    numbers.setData(kData.mixed(Util::all, IntVector{0})).setSampleSize(3);
    const DataFrame strata = kMore.responses(Util::all, IntVector{0});
    for (const StratifiedSRS& sampler : {texts, numbers}) {
        surviveDraws(sampler, texts, {{"data", [&](auto& s) { s.setData(strata); }}});
    }
    OversamplingPartitioning lists;
    lists.setSeed(3).partition(kData.labels, kLow);
    OversamplingPartitioning other = lists;
    other.setSeed(4).partition(kData.labels, kHigh);
    surviveAll(lists,
               Steps<OversamplingPartitioning>{
                   {"partition", [](auto& o) { o.partition(kMore.labels, kHigh); }},
                   {"assignment", [&](auto& o) { o = other; }}},
               [](const auto& a, const auto& b) {
                   return a.getTraining() == b.getTraining() && a.getTest() == b.getTest();
               });
}

struct Bowl : Engine::Optimization::QuasiNewtonOptimizer {
    double function(const Vector& x) override { return Util::innerProduct(x - 3.0) + x[0] * x[1]; }
};

TEST(AllocationFailures, Optimiser) {
    Bowl searched;
    searched.minimize(Vector{1, 2, 3});
    Bowl other;
    other.setMaxIterations(3).minimize(Vector{9, 9, 9, 9});
    surviveAll(searched,
               Steps<Bowl>{{"search", [](auto& b) { b.minimize(Vector(4, 4.0)); }},
                           {"assignment", [&](auto& b) { b = other; }}},
               [](const Bowl& a, const Bowl& b) {
                   return a.getNumIterations() == b.getNumIterations() &&
                          a.getMaxIterations() == b.getMaxIterations() &&
                          a.getApproximateHessianInverse().equalTo(b.getApproximateHessianInverse(),
                                                                   0.0);
               });
}

TEST(AllocationFailures, Series) {
    using Series = Engine::TS::ARIMA::Data;
    const std::vector<double> values(kData.numbers.begin(), kData.numbers.end());
    const std::vector<double> fewer(values.begin(), values.end() - 2);
    Series data(1, 1, 4);
    data.load(values).preprocess().computePACF();
    Series other(1);
    other.load(values).lag(1, 2);
    for (const Series& series : {data, other}) {
        surviveStored(series, data,
                      {{"load", [&](auto& s) { s.load(fewer); }},
                       {"lag", [](auto& s) { s.lag(1, 1); }},
                       {"mean", [](auto& s) { s.subtractMean(2.0); }},
                       {"apply", [](auto& s) { s.apply(); }},
                       {"preprocess", [](auto& s) { s.preprocess(); }},
                       {"acvf", [](auto& s) { s.computeACVF(0, 3); }},
                       {"pacf", [](auto& s) { s.computePACF(1, 3); }},
                       {"postprocess", [&](auto& s) { s.postprocess(values); }}});
    }
}

template <class Smoother>
void surviveSmoothing(Smoother smoother, Smoother other) {
    smoother.setNumTrials(9).run().forecast(3);
    surviveStored(smoother, other,
                  {{"series", [](auto& s) { s.setSeries(kMore.numbers); }},
                   {"run", [](auto& s) { s.run(); }},
                   {"search", [](auto& s) { s.runAuto(); }},
                   {"optimum", [](auto& s) { s.runOptimised(); }},
                   {"forecast", [](auto& s) { s.forecast(5, true); }},
                   {"tables", [](auto& s) {
                        s.getSeriesTable();
                        s.getForecastTable();
                        s.getParameterTable();
                        s.getErrorTable();
                    }}});
}

TEST(AllocationFailures, Smoothing) {
    using namespace Engine::TS::Smoothing;
    const Vector& x = kData.numbers;
    surviveSmoothing(MovingAverage(x, 3), MovingAverage(x, 2));
    surviveSmoothing(Exponential(x, 0.5, 9), Exponential(x, 0.25, 9));
    surviveSmoothing(MulHoltWinters(x + 1.0, 0.5, 0.5, 0.5, 4), MulHoltWinters());
    surviveSmoothing(NoTrendHoltWinters(x, 0.5, 0.5, 4), NoTrendHoltWinters(x, 0, 0, 3));
}

TEST(AllocationFailures, Roles) {
    using Roles = Engine::Classification::Modelable;
    const Roles::PriorMap priors{{kOther, 1.0}};
    const StringVector classes{kOther};
    Roles fitted;
    fitted.setClasses({kLow, kHigh}).setPrior({{kLow, 0.25}, {kHigh, 0.75}}).setSuccessClass(kHigh);
    Roles other;
    other.setClasses({kOther, kLow}).setPrior(kOther, 0.5).setSuccessClass(kOther);
    other.setSuccessProbabilityCutoff(0.25);
    for (const Roles& roles : {fitted, Roles()}) {
        surviveAll(roles,
                   Steps<Roles>{{"fit", [](auto& r) { r.fit(kData.labels, kWeights); }},
                                {"classes", [&](auto& r) { r.setClasses(classes); }},
                                {"prior", [](auto& r) { r.setPrior(kOther, 1.0); }},
                                {"priors", [&](auto& r) { r.setPrior(priors); }},
                                {"success", [](auto& r) { r.setSuccessClass(kOther); }},
                                {"assignment", [&](auto& r) { r = other; }}},
                   [](const Roles& a, const Roles& b) {
                       return a.getClasses() == b.getClasses() && a.getPriors() == b.getPriors() &&
                              a.getSuccessClass() == b.getSuccessClass() &&
                              a.getSuccessProbabilityCutoff() == b.getSuccessProbabilityCutoff();
                   });
    }
}

TEST(AllocationFailures, Neighbours) {
    using Classes = Engine::Classification::KNN::Model;
    surviveStored(
        Classes().fit(kData.numeric, kClasses), Classes().fit(kMore.x, kMore.labels),
        {{"fit", [](auto& m) { m.fit(kMore.x, kMore.labels, kWeights); }},
         {"fit a frame", [](auto& m) { m.fit(kMore.numeric, kClasses); }},
         {"features", [](auto& m) { m.setTrainingFeatures(kMore.x); }},
         {"response", [](auto& m) { m.setTrainingResponse(StringVector(5, kOther)); }},
         {"weights", [](auto& m) { m.setWeights(Vector(30, 2.0)); }},
         {"odds", [](auto& m) { m.posteriorProbability(kMore.numeric, 3, true, false, kInverse); }},
         {"search", [](auto& m) { m.kSearch(kMore.x, kMore.labels, 4, true, false, kInverse); }}});
    using Numbers = Engine::Regression::KNN::Model;
    const Numbers numbers = Numbers().fit(kData.x, kData.numbers);
    // When memory is short the records are scored one by one, with the same results.
    const auto scores = [](const Numbers& m) {
        return Convert::toDoubleVector(m.predict(kData.x, 3, true, false, kInverse));
    };
    const Vector expected = scores(numbers);
    int answers = 0;
    const auto predict = [&](Numbers& m) {
        EXPECT_EQ(scores(m), expected);
        answers += FailingAllocations::failed() ? 1 : 0;
    };
    surviveStored(
        numbers, Numbers().fit(kMore.x, kMore.numbers),
        {{"fit a frame", [](auto& m) { m.fit(kMore.numeric, kNumbers); }},
         {"response", [](auto& m) { m.setTrainingResponse(Vector(30, 1.0)); }},
         {"predict", predict},
         {"search", [](auto& m) { m.kSearch(kMore.x, kMore.numbers, 4, true, false, kInverse); }}});
    EXPECT_GT(answers, 3);
}

TEST(AllocationFailures, Discriminants) {
    using Discriminant = Engine::DA::Model;
    const DataFrame two = kMore.numeric(Util::all, IntVector{0, 1});
    for (const bool quadratic : {false, true}) {
        Discriminant model;
        model.setQuadratic(quadratic).fit(kData.x(Util::all, IntVector{0, 1}), kData.labels);
        surviveStored(model, Discriminant().fit(two, kClasses),
                      {{"fit", [&](auto& m) { m.fit(Convert::toMatrix(two), kMore.labels); }},
                       {"fit a frame", [&](auto& m) { m.fit(two, kClasses); }},
                       {"priors", [](auto& m) { m.setPriors(Vector(3, 0.25)); }},
                       {"odds", [&](auto& m) { m.posteriorProbability(two); }}});
    }
}

TEST(AllocationFailures, NaiveBayes) {
    namespace NaiveBayes = Classification::NaiveBayes::Engine;
    using NaiveBayes::Model;
    const Model::ClassValues priors{{kLow, 0.5}, {kHigh, 0.5}};
    const auto count = [&](const Data& data, double alpha) {
        return NaiveBayes::computeFrequency(data.mixed, kClasses, alpha, priors);
    };
    const Model counts = count(kData, 1.0);
    const Model model = NaiveBayes::frequencyToPriorConditionalProbability(counts);
    const WString known = kData.mixed.getColName(1);
    for (const Model& from : {counts, model}) {
        surviveStored(
            from, count(kMore, 0.5),
            {{"count", [&](auto& m) { m = count(kMore, 2.0); }},
             {"smooth", [](auto& m) { m = NaiveBayes::frequencyToPriorConditionalProbability(m); }},
             {"feature", [](auto& m) { m.setFeatureValueClassCount(kOther, kLow, kLow, 1.0); }},
             {"category", [&](auto& m) { m.setFeatureValueClassCount(known, L"new", kLow, 1.0); }},
             {"class", [](auto& m) { m.setTargetCount(kOther, 1); }},
             {"priors", [&](auto& m) { m.setPriorProbs(priors); }},
             {"score", [](auto& m) {
                  (void)NaiveBayes::computePosteriorProbability(m, kData.mixed, true);
              }}});
    }
}

TEST(AllocationFailures, ComponentsAndVariates) {
    using Components = Engine::PCA::Model;
    surviveStored(Components({1}).fit(kData.numeric), Components({0}).fit(kMore.x),
                  {{"fit", [](auto& m) { m.fit(kMore.x); }},
                   {"fit a frame", [](auto& m) { m.fit(kMore.numeric); }},
                   {"scores", [](auto& m) { m.tStat(m.transform(kMore.x, 2)); }},
                   {"scores of a frame", [](auto& m) { m.transform(kMore.numeric, 2); }}});
    using Variates = Engine::CVA::Model;
    const DataFrame two = kMore.numeric(Util::all, IntVector{0, 1});
    const IntVector classes(kMore.codes.begin(), kMore.codes.end());
    surviveStored(Variates().fit(two, kClasses),
                  Variates().fit(kData.x(Util::all, IntVector{1, 2}), classes),
                  {{"fit", [&](auto& m) { m.fit(Convert::toMatrix(two), classes); }},
                   {"fit a frame", [&](auto& m) { m.fit(two, kClasses); }},
                   {"scores", [&](auto& m) { m.transform(two); }}});
}

TEST(AllocationFailures, Concepts) {
    using Engine::TM::ConceptExtractor;
    surviveStored(ConceptExtractor({60.0, 0}).fit(kData.x), ConceptExtractor().fit(kMore.x),
                  {{"fit", [](auto& m) { m.fit(kMore.x); }},
                   {"number", [](auto& m) { m.computeNumConcepts(1, 1); }},
                   {"documents", [](auto& m) { m.cdm(kMore.x, true); }},
                   {"terms", [](auto& m) { m.termImportance(m.tcm(kMore.x, true)); }}});
}

/// `values` are the response of `kMore` as numbers.
template <class Tree>
void surviveTree(int response, const Vector& values, Steps<Tree> steps) {
    constexpr int kNone = std::numeric_limits<int>::max();
    const Engine::DT::Params params{.maxSplits = kNone, .maxLevels = kNone, .maxNodes = kNone};
    const auto y = kMore.responses(Util::all, response);
    Tree tree(params);
    tree.fit(kData.mixed, kData.responses(Util::all, response));
    ASSERT_GT(tree.getNumNodes(), 5);
    Tree other(params);
    const Steps<Tree> common{
        {"fit", [&](auto& m) { m.fit(kMore.x, values); }},
        {"fit a frame", [&](auto& m) { m.fit(kMore.mixed, y); }},
        {"prune", [&](auto& m) { m.prune(kMore.mixed, y); }},
        {"parameters",
         [](auto& m) { m.setParams({.maxSplits = 7, .categorical = IntVector(20, 1)}); }},
        {"names", [](auto& m) { m.setColNames(StringVector(9, kOther)); }},
        {"prediction", [](auto& m) { m.predict(kMore.mixed); }},
    };
    steps.insert(steps.end(), common.begin(), common.end());
    surviveStored(tree, other.fit(kMore.x, values), steps);
}

TEST(AllocationFailures, Trees) {
    const StringVector two{kOther, kLow};
    const StringVector three{kOther, kLow, kHigh};
    surviveTree<Engine::DT::Classification::Model>(
        0, kMore.codes,
        {{"new names", [&](auto& m) { m.setClasses(two); }},
         {"more classes", [&](auto& m) { m.setClasses(three); }}});
    surviveTree<Engine::DT::Regression::Model>(1, kMore.numbers, {});
}

TEST(AllocationFailures, Networks) {
    namespace NN = Engine::NeuralNetwork;
    NN::Params params;
    params.architecture.layerSizes = {3, 2, 2};
    params.architecture.setActivationType(1, NN::ActivationType::sigmoid);
    params.training = {.numEpochs = 2, .batchSize = 5, .learningRate = 0.5};
    params.stopping = {.mode = 1, .timeLimit = 1e9};
    const Matrix x = Matrix(kMore.x).transpose();
    NN::Classification::Model classes(params);
    NN::Classification::Model otherClasses(params);
    otherClasses.fit(x, kMore.labels);
    NN::Params wide = params;
    wide.architecture.layerSizes = {3, 7, 2};
    surviveStored(
        classes.fit(kData.numeric, kData.responses(Util::all, 0)), otherClasses,
        {{"fit", [&](auto& m) { m.fit(x, kMore.labels); }},
         {"fit frames", [](auto& m) { m.fit(kMore.numeric, kClasses, kMore.numeric, kClasses); }},
         {"initialize", [&](auto& m) { m.initialize(wide); }},
         {"steps",
          [&](auto& m) {
              const Matrix y = Matrix(2, 12, 0.5);
              m.update(m.backpropagate(x, y, m.feedforwardCache(x)));
          }},
         {"posteriors", [](auto& m) { m.posteriorProbability(kMore.numeric); }}});
    params.architecture.layerSizes = {3, 4, 1};
    NN::Regression::Model numbers(params);
    NN::Regression::Model otherNumbers(params);
    const Matrix y(1, 12, kMore.numbers);
    surviveStored(
        numbers.fit(kData.numeric, kNumbers), otherNumbers.fit(x, y),
        {{"fit", [&](auto& m) { m.fit(x, y); }},
         {"fit frames",
          [](auto& m) { m.fit(kMore.numeric, kMore.responses(Util::all, IntVector{1})); }},
         {"predict", [](auto& m) { m.predict(kMore.numeric); }}});
}

/// Everything a model of a series can be asked for.
template <class Model>
void surviveSeries(const Model& from, const Model& other) {
    const std::vector<double> series{3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7, 9, 3, 2, 3, 8, 4};
    surviveStored(from, other,
                  {{"load", [&](auto& m) { m.loadData(series); }},
                   {"preprocess", [&](auto& m) { Model(m).loadData(series).preprocess(); }},
                   {"fit", [](auto& m) { m.fit(); }},
                   {"estimates", [](auto& m) { m.computeInitialEstimates(); }},
                   {"details", [](auto& m) { m.computeModelDetails(); }},
                   {"fitted values", [](auto& m) { m.computeFittedValues(); }},
                   {"forecast", [](auto& m) { m.forecast(5); }},
                   {"standard deviations", [](auto& m) { m.computeIntegratedForecastsStdDev(); }},
                   {"test", [](auto& m) { m.performLjungBoxTest(); }},
                   {"likelihood", [](auto& m) { m.function(m.parameters()); }},
                   {"frames", [](auto& m) {
                        m.getForecastFrame(3), m.getFittedFrame(), m.getCoefficientFrame();
                    }}});
}

TEST(AllocationFailures, SeriesModels) {
    using Engine::TS::ARIMA::ARMA;
    using Engine::TS::ARIMA::SARMA;
    const std::vector<double> series{2, 7, 1, 8, 2, 8, 1, 8, 2, 8, 4, 5, 9, 0, 4, 5, 2, 3, 5, 3, 6};
    ARMA plain(0, 1, 1);
    plain.setMaxIterations(3);
    SARMA seasonal(0, 0, 1, 0, 1, 0, 2);
    seasonal.setMaxIterations(3);
    const ARMA fitted = ARMA(plain).loadData(series).preprocess().fit();
    surviveSeries(fitted, plain);
    surviveSeries(SARMA(seasonal).loadData(series).preprocess().fit(), seasonal);
}

TEST(AllocationFailures, Clusters) {
    using Clusters = Engine::KMC::Model;
    Clusters given({1, 2, 5, 7});
    given.setInitialCentroids(kData.x(Util::range(0, 4), Util::all));
    for (const Clusters& from : {Clusters({3, 2, 5, 7}).fit(kData.x), given}) {
        surviveStored(from, Clusters({2, 3, 4, 5}).fit(kMore.x),
                      {{"fit", [](auto& m) { m.fit(kMore.x); }},
                       {"centroids", [](auto& m) { m.setInitialCentroids(kMore.x); }},
                       {"predict", [](auto& m) { Clusters(m).fit(kData.x).predict(kMore.x); }}},
                      [](Clusters a, Clusters b) {
                          return kSameText(a, b) && kSameText(a.fit(kData.x), b.fit(kData.x));
                      });
    }
    using Hierarchy = Engine::HC::Model;
    const Hierarchy other = Hierarchy({7, 1, 1}).fit(kMore.x);
    surviveStored(Hierarchy({1, 1, 1}).fit(kData.x), other,
                  {{"tree", [](auto& m) { m.fit(kMore.x); }},
                   {"fit", [](auto& m) { m.setLinkage(3).fit(kMore.x); }},
                   {"history", [&](auto& m) { m.setMergingHistory(other.getMergingHistory()); }},
                   {"draw", [](auto& m) { m.dendrogram(5); }}},
                  [](const Hierarchy& a, const Hierarchy& b) {
                      return a.getMergingHistory() == b.getMergingHistory();
                  });
    const auto run = [](IntVector& out) {
        const int status = RunCluster(3, 12, kData.x.data(), 2, 9, 3, 1, out.data());
        if (status == 2) throw std::bad_alloc();
        if (status != 0) throw std::exception();
    };
    EXPECT_TRUE(survivesFailures(IntVector(12, -7), run));
}

/// Memory for transactions fails in the miners' own words.
template <class Step>
void asBadAlloc(const Step& step) {
    try {
        step();
    } catch (const Engine::ItemsetsTooLargeForArchitecture&) {
        throw std::bad_alloc();
    }
}

template <class Miner>
void surviveMiner() {
    using Engine::AR::Data;
    const std::vector<std::wstring> names{L"an item with a long name", L"another such item", L"c"};
    Data data(names);
    for (const std::uint64_t k : {0U, 1U, 2U, 0U, 1U, 0U}) {
        data.append(std::vector<std::uint64_t>{k, (k + 1) % 3, 2});
    }
    const std::vector<std::uint64_t> items(99, 1);
    surviveAll(data,
               Steps<Data>{{"append", [&](auto& d) { asBadAlloc([&] { d.append(items); }); }}},
               [](const Data& a, const Data& b) {
                   return a.getNumTransactions() == b.getNumTransactions() &&
                          std::ranges::equal(a.getOccurrences(), b.getOccurrences());
               });
    const DataFrame frame = Convert::toDataFrame(kData.x(Util::all, Util::range(1, 2)));
    Miner fitted(1);
    fitted.fit(data).generate(names, 0.1);
    Miner other(2);
    other.fit(frame);
    surviveStored(fitted, other,
                  {{"fit", [&](auto& m) { m.fit(data); }},
                   {"fit a frame", [&](auto& m) { asBadAlloc([&] { m.fit(frame); }); }},
                   {"generate", [&](auto& m) { m.generate(names, 0.2); }}});
}

TEST(AllocationFailures, Rules) {
    surviveMiner<Engine::AR::TTree>();
    surviveMiner<Engine::AR::Apriori>();
}

TEST(AllocationFailures, TextMiner) {
    using Engine::TM::TextMiner;
    DataFrame texts;
    texts.append(StringVector{L"An <b>old</b> house and its gardens",
                              L"mail to a.b@example.org for $12 houses"});
    texts.append(StringVector{L"houses without gardens",
                              L"another \u00dcbung of 3.14 gardens at https://x.org"});
    const ConstDataFrameColumn documents = texts(Util::all, 0);
    const ConstDataFrameColumn further = texts(Util::all, 1);
    TextMiner fitted(Engine::TM::PreprocessingFlags{0, 255});  // the stop words would take long
    fitted.setPhrases({{L"old house", L"ancient_residence"}}).setSynonyms({{L"garden", L"park"}});
    fitted.preprocess(documents).getTopTerms(5, true, 3);
    TextMiner other(Engine::TM::PreprocessingFlags{0, 255});
    other.setIncludedTerms({L"gardens", L"something that is nowhere"}).preprocess(further);
    const std::vector<std::wstring> words{L"a word of some length", L"another word of some length"};
    surviveStored(fitted, other,
                  {{"fit", [&](auto& m) { m.preprocess(further); }},
                   {"fit again", [&](auto& m) { m.preprocess(documents); }},
                   {"score", [&](auto& m) { m.preprocessNewCorpus(further, m.getTerms()); }},
                   {"settings", [&](auto& m) { m.setExcludedTerms(words); }},
                   {"top", [](auto& m) { m.getTopTerms(2, true, 1); }},
                   {"dense",
                    [](auto& m) {
                        (void)m.buildTDM({4, 5, 2});
                    }},
                   {"sparse", [](auto& m) { (void)m.buildSparseTDM(); }}});
}

}  // namespace
}  // namespace Veltrix::Testing

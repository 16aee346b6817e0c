// What every stored model promises: the text reads back to the same text, from a string and from a
// file; damage names its key and changes nothing; copies and moved models are values.
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Process.h"

namespace Veltrix::Testing {
namespace {

using nlohmann::ordered_json;

/// Three predictors, one of them with ties, and responses with a little of everything.
Matrix predictors(unsigned seed) {
    Matrix x = Util::gaussianMatrix(40, 3, MatrixOrderType::columnMajor, 0.0, 2.0, seed);
    for (int i = 0; i < 40; ++i) x(i, 2) = i % 4;
    return x;
}

Vector numbers(unsigned seed) {
    const Matrix x = predictors(seed);
    Vector y(40);
    for (int i = 0; i < 40; ++i) y[static_cast<std::uint64_t>(i)] = x(i, 0) - x(i, 2) * x(i, 2);
    return y;
}

StringVector labels(unsigned seed) {
    StringVector result;
    for (const double y : numbers(seed)) result.push_back(y < -3 ? L"low" : y < 0 ? L"b" : L"hi\"");
    return result;
}

Vector codes(unsigned seed) {
    Vector result;
    for (const double y : numbers(seed)) result.push_back(y < -3 ? 0 : y < 0 ? 1 : 2);
    return result;
}

StringVector categories(unsigned seed) {
    StringVector result;
    for (const double y : numbers(seed)) result.push_back(y < -3 ? L"red" : L"\u00e4\U0001F600");
    return result;
}

/// How each model is fitted; other seeds give other models.
template <class Model>
Model fitted(unsigned seed);

using Regression = Engine::LinearModel::OLS::Model;
template <>
Regression fitted(unsigned seed) {
    return Regression().fit(predictors(seed), numbers(seed), true);
}

using Logistic = Engine::LinearModel::Logistic::Model;
template <>
Logistic fitted(unsigned seed) {
    Vector y = codes(seed);
    for (double& value : y) value = value > 0.0 ? 1.0 : 0.0;
    return Logistic().fit(predictors(seed), y, 9, true);
}

using Clusters = Engine::KMC::Model;
template <>
Clusters fitted(unsigned seed) {
    return Clusters({2, 4, 6, static_cast<int>(seed)}).fit(predictors(seed));
}

using Hierarchy = Engine::HC::Model;
template <>
Hierarchy fitted(unsigned seed) {
    return Hierarchy({2 + static_cast<int>(seed % 2), 4, 1}).fit(predictors(seed));
}

using Neighbours = Engine::Classification::KNN::Model;
template <>
Neighbours fitted(unsigned seed) {
    return Neighbours().fit(predictors(seed), labels(seed), Vector(40, 1.5));
}

using NumberNeighbours = Engine::Regression::KNN::Model;
template <>
NumberNeighbours fitted(unsigned seed) {
    return NumberNeighbours().fit(predictors(seed), numbers(seed));
}

using Discriminant = Engine::DA::Model;
template <>
Discriminant fitted(unsigned seed) {
    return Discriminant().setQuadratic(seed % 2 == 0).fit(predictors(seed), labels(seed));
}

using Components = Engine::PCA::Model;
template <>
Components fitted(unsigned seed) {
    return Components({static_cast<int>(seed % 2)}).fit(predictors(seed));
}

using Variates = Engine::CVA::Model;
template <>
Variates fitted(unsigned seed) {
    const Vector classes = codes(seed);
    return Variates().fit(predictors(seed), IntVector(classes.begin(), classes.end()));
}

Engine::DT::Params growth() {
    Engine::DT::Params params;
    params.maxSplits = params.maxLevels = params.maxNodes = 99;
    params.minRecords = 2;
    params.categorical = {2};
    return params;
}

using ClassTree = Engine::DT::Classification::Model;
template <>
ClassTree fitted(unsigned seed) {
    ClassTree tree(growth());
    tree.fit(predictors(seed), codes(seed)).prune(predictors(seed + 1), codes(seed + 1));
    return tree;
}

using NumberTree = Engine::DT::Regression::Model;
template <>
NumberTree fitted(unsigned seed) {
    NumberTree tree(growth());
    tree.fit(predictors(seed), numbers(seed)).prune(predictors(seed + 1), numbers(seed + 1));
    return tree;
}

Engine::NeuralNetwork::Params network(int outputs) {
    Engine::NeuralNetwork::Params params;
    params.architecture.layerSizes = {3, 2, outputs};
    params.architecture.setActivationType(1, Engine::NeuralNetwork::ActivationType::tanh);
    params.training = {.numEpochs = 3, .batchSize = 16, .learningRate = 0.1};
    params.stopping = {.mode = 3, .timeLimit = 1e9};
    return params;
}

using ClassNetwork = Engine::NeuralNetwork::Classification::Model;
template <>
ClassNetwork fitted(unsigned seed) {
    ClassNetwork model(network(3));
    const Matrix x = predictors(seed).transpose();
    return model.fit(x, labels(seed), x, labels(seed));
}

using NumberNetwork = Engine::NeuralNetwork::Regression::Model;
template <>
NumberNetwork fitted(unsigned seed) {
    NumberNetwork model(network(1));
    const Matrix x = predictors(seed).transpose();
    const Matrix y(1, 40, numbers(seed));
    return model.fit(x, y, x, y);
}

template <>
Engine::Encoder fitted(unsigned seed) {
    DataFrame frame;
    frame.append(categories(seed), L"colour");
    frame.append(labels(seed), L"level " + Convert::toString(static_cast<int>(seed)));
    Engine::Encoder encoder;
    encoder.fit(frame);
    return encoder;
}

template <>
Engine::CatReducer fitted(unsigned seed) {
    Engine::CatReducer reducer;
    reducer.setNumCategories(seed % 2 == 0 ? 2 : 3).fit(labels(seed));
    return reducer;
}

using NaiveBayes = Classification::NaiveBayes::Engine::Model;
template <>
NaiveBayes fitted(unsigned seed) {
    DataFrame features;
    features.append(categories(seed), L"colour");
    features.append(codes(seed));
    DataFrame target;
    target.append(labels(seed));
    const Vector priors = Util::percentage(numbers(seed));
    return Classification::NaiveBayes::Engine::computeFrequency(
        features, target(Util::all, 0), 0.5, {{L"low", priors[0]}, {L"b", priors[1]}});
}

using Series = Engine::TS::ARIMA::Data;
template <>
Series fitted(unsigned seed) {
    const Vector values = numbers(seed);
    Series series(1, 1, 4);
    series.load({values.begin(), values.end()});
    return series.preprocess().computePACF(0, 6);
}

namespace Smoothing = Engine::TS::Smoothing;

Vector named(Vector values) {
    values.setName(L"values");
    return values;
}

template <>
Smoothing::MovingAverage fitted(unsigned seed) {
    Smoothing::MovingAverage smoother(named(numbers(seed)), 3);
    smoother.run().forecast(2);
    return smoother;
}

template <>
Smoothing::Exponential fitted(unsigned seed) {
    Smoothing::Exponential smoother(numbers(seed), 0.5, 20);
    smoother.runAuto().forecast(2);
    return smoother;
}

template <>
Smoothing::DoubleExponential fitted(unsigned seed) {
    Smoothing::DoubleExponential smoother(numbers(seed), 0.5, 0.25, 20);
    smoother.run();
    return smoother;
}

template <class Seasonal>
Seasonal seasonal(Seasonal smoother) {
    smoother.run().forecast(2);
    return smoother;
}
template <>
Smoothing::MulHoltWinters fitted(unsigned seed) {
    return seasonal(Smoothing::MulHoltWinters(numbers(seed), 0.5, 0.25, 0.125, 4));
}
template <>
Smoothing::AddHoltWinters fitted(unsigned seed) {
    return seasonal(Smoothing::AddHoltWinters(numbers(seed), 0.5, 0.25, 0.125, 4));
}
template <>
Smoothing::NoTrendHoltWinters fitted(unsigned seed) {
    return seasonal(Smoothing::NoTrendHoltWinters(numbers(seed), 0.5, 0.125, 4));
}

/// A series and a model without search.
template <class Model>
Model fittedTo(unsigned seed, std::uint64_t order) {
    const Vector values = numbers(seed);
    Model model(order);
    model.loadData(std::vector<double>(values.begin(), values.end())).preprocess().fit();
    return model;
}

using Autoregression = Engine::TS::ARIMA::AR;
template <>
Autoregression fitted(unsigned seed) {
    return fittedTo<Autoregression>(seed, 3);
}

using MovingAverage = Engine::TS::ARIMA::MA;
template <>
MovingAverage fitted(unsigned seed) {
    return fittedTo<MovingAverage>(seed, 2);
}

using Arma = Engine::TS::ARIMA::ARMA;
using Seasonal = Engine::TS::ARIMA::SARMA;
void computeAll(Arma& model, unsigned seed) {
    const Vector values = numbers(seed);
    model.loadData(std::vector<double>(values.begin(), values.end())).preprocess().fit();
    model.computeModelDetails().computeFittedValues().forecast(3);
    model.computeForecastsStdDev().computeIntegratedForecastsStdDev().computePsi(4);
    model.performLjungBoxTest();
}
template <>
Arma fitted(unsigned seed) {
    Arma model(1, 1, 1);
    computeAll(model, seed);
    return model;
}
template <>
Seasonal fitted(unsigned seed) {
    Seasonal model(1, 0, 0, 0, 1, 1, 4);
    computeAll(model, seed);
    return model;
}

/// Items of which the last are rare.
template <class Miner>
Miner mined(unsigned seed) {
    Engine::AR::Data data({L"milk", L"bread\"", L"\u00e4", L"eggs"});
    for (const double code : numbers(seed)) {
        const auto bits = static_cast<std::uint64_t>(std::abs(code) * 7.0);
        std::vector<std::uint64_t> items;
        for (std::uint64_t j = 0; j < 4; ++j) {
            if (bits % (j + 2) == 0) items.push_back(j);
        }
        data.append(items);
    }
    Miner miner(3);
    miner.fit(data).generate(data.getItemNames(), 0.2);
    return miner;
}

using RuleTree = Engine::AR::TTree;
template <>
RuleTree fitted(unsigned seed) {
    return mined<RuleTree>(seed);
}

using RuleLevels = Engine::AR::Apriori;
template <>
RuleLevels fitted(unsigned seed) {
    return mined<RuleLevels>(seed);
}

using Concepts = Engine::TM::ConceptExtractor;
template <>
Concepts fitted(unsigned seed) {
    return Concepts({80.0, 0}).fit(predictors(seed));
}

/// Settings of all kinds, and a term that is no Unicode text.
using Texts = Engine::TM::TextMiner;
template <>
Texts fitted(unsigned seed) {
    DataFrame frame;
    StringVector documents = labels(seed);
    documents.push_back(std::wstring(L"\u00e4 \U0001F600\" ") + static_cast<wchar_t>(0xD800) +
                        L"x");
    frame.append(documents);
    Texts miner(Engine::TM::PreprocessingFlags{13, 511});
    miner.setSynonyms({{L"low", L"small"}, {L"b", L"low"}}).setPhrases({{L"hi", L"hello you"}});
    miner.setExcludedTerms({L"nothing", L"zero"}).setRemovedDefaultStopwords({L"you"});
    miner.setMinTermFrequency(0.5).setEndPhrase(L"e\u0301");
    return miner.preprocess(frame(Util::all, 0)).getTopTerms(3, true, 2);
}

template <class Model>
class StoredModels : public testing::Test {};

using Models =
    testing::Types<Regression, Logistic, Clusters, Hierarchy, Components, Variates, Neighbours,
                   NumberNeighbours, Discriminant, NaiveBayes, ClassTree, NumberTree, ClassNetwork,
                   NumberNetwork, Engine::Encoder, Engine::CatReducer, Series, Autoregression,
                   MovingAverage, Arma, Seasonal, Smoothing::MovingAverage, Smoothing::Exponential,
                   Smoothing::DoubleExponential, Smoothing::MulHoltWinters,
                   Smoothing::AddHoltWinters, Smoothing::NoTrendHoltWinters, RuleTree, RuleLevels,
                   Concepts, Texts>;
TYPED_TEST_SUITE(StoredModels, Models);

TYPED_TEST(StoredModels, ReadBackToTheSameText) {
    const TemporaryFolder folder;
    const WString path = WString::fromUtf8(folder.path("model.json"));
    for (const TypeParam& model : {fitted<TypeParam>(3), TypeParam()}) {
        const WString text = model.toJson();
        TypeParam back = fitted<TypeParam>(4);
        back.fromJsonString(text);
        EXPECT_EQ(back.toJson().toUtf8(), text.toUtf8());
        back.toJson(path);
        EXPECT_EQ(contentOf(folder.path("model.json")), text.toUtf8());
        TypeParam fromFile;
        fromFile.fromJsonFile(path);
        EXPECT_EQ(fromFile.toJson().toUtf8(), text.toUtf8());
    }
}

TYPED_TEST(StoredModels, AreValues) {
    TypeParam model = fitted<TypeParam>(3);
    const std::string text = model.toJson().toUtf8();
    TypeParam copy = model;
    copy = fitted<TypeParam>(6);
    EXPECT_NE(copy.toJson().toUtf8(), text);
    EXPECT_EQ(model.toJson().toUtf8(), text);
    copy = std::move(model);
    EXPECT_EQ(copy.toJson().toUtf8(), text);
    model = fitted<TypeParam>(3);  // NOLINT(bugprone-use-after-move): usable again
    EXPECT_EQ(model.toJson().toUtf8(), text);
}

/// A change of one value of a document; false when it is none.
using Change = std::function<bool(ordered_json&)>;

/// Makes the change of every value by turns, calls `read` with the value's key, and undoes it.
void forEachValue(ordered_json& node, const std::string& key, const Change& change,
                  const std::function<void(const std::string&)>& read) {
    const ordered_json kept = node;
    if (change(node)) read(key);
    node = kept;
    if (!node.is_structured()) return;
    std::size_t place = 0;
    for (auto& [name, part] : node.items()) {
        if (node.is_array() && place++ > 1) break;  // elements are alike
        forEachValue(part, node.is_array() ? key : name, change, read);
    }
}

bool makeAnotherKind(ordered_json& value) {
    value = value.is_boolean() ? ordered_json(0.5) : ordered_json(true);
    return true;
}

bool dropVersion(ordered_json& value) { return value.is_object() && value.erase("version") > 0; }

TYPED_TEST(StoredModels, DamageNamesItsKeyAndChangesNothing) {
    TypeParam model = fitted<TypeParam>(3);
    const std::string before = model.toJson().toUtf8();
    ordered_json document = ordered_json::parse(before);
    const auto readDocument = [&](const std::string& key) {
        const auto read = [&] { model.fromJsonString(WString::fromUtf8(document.dump())); };
        EXPECT_TRUE(refuses(read, key, 9)) << document.dump().substr(0, 300);
        EXPECT_EQ(model.toJson().toUtf8(), before);
    };
    forEachValue(document, "", makeAnotherKind, readDocument);
    forEachValue(document, "", dropVersion, [&](const auto& /*key*/) { readDocument("version"); });
}

/// Whatever a number becomes and however long a list is, reading ends with a model or an exception,
/// and the model can be stored again.
TYPED_TEST(StoredModels, NoNumberLeadsAstray) {
    const TypeParam model = fitted<TypeParam>(3);
    const std::string before = model.toJson().toUtf8();
    int refused = 0;
    const auto read = [&](const std::string& text) {
        TypeParam other = model;
        try {
            other.fromJsonString(WString::fromUtf8(text));
            EXPECT_FALSE(other.toJson().empty());
        } catch (const Exception&) {
            ++refused;
            EXPECT_EQ(other.toJson().toUtf8(), before);
        }
    };
    std::vector<Change> changes;
    for (const std::int64_t number : {-1, 1, 1000, 2147483647}) {
        changes.emplace_back([number](ordered_json& value) {
            if (value.is_number()) value = number;
            return value.is_number();
        });
    }
    for (const int step : {-1, 1}) {
        changes.emplace_back([step](ordered_json& value) {
            if (!value.is_array() || value.empty()) return false;
            const std::size_t last = value.size() - 1;
            if (step < 0) value.erase(last);
            if (step > 0) value.push_back(ordered_json(value.back()));
            return true;
        });
    }
    ordered_json document = ordered_json::parse(before);
    for (const Change& change : changes) {
        forEachValue(document, "", change, [&](const auto& /*key*/) { read(document.dump()); });
    }
    EXPECT_GT(refused, 0);
    for (std::size_t length = 0; length < before.size(); length += 1 + before.size() / 50) {
        refused = 0;
        read(before.substr(0, length));
        EXPECT_EQ(refused, 1) << length;
    }
}

}  // namespace
}  // namespace Veltrix::Testing

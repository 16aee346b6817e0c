// Whatever allocation fails, alone or with all later ones, an object of the engine's core, a linear
// regression and a series are as they were.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/support/FailingAllocations.h"

namespace Veltrix::Testing {
namespace {

using Engine::CatReducer;
using Engine::Encoder;
using Regression = Engine::LinearModel::OLS::Model;
using Series = Engine::TS::ARIMA::Data;

Matrix predictors(int n, unsigned seed) {
    Matrix x = Util::gaussianMatrix(n, 3, MatrixOrderType::columnMajor, 0.0, 1.0, seed);
    x(Util::all, 2) = x(Util::all, 0);
    return x;
}

/// Labels too long to be stored without an allocation.
StringVector labels(int n) {
    StringVector result;
    for (int i = 0; i < n; ++i) {
        result.push_back(WString(L"a category of a long name ") + Convert::toString(i * i % 7));
    }
    return result;
}

DataFrame frameOf(const StringVector& texts) {
    DataFrame frame(L"a frame with a long name");
    frame.append(texts, L"a column with a long name");
    return frame;
}

const auto kSameText = [](const auto& a, const auto& b) { return a.toJson() == b.toJson(); };

/// Fits, copies, stores and reads: what all stored objects have in common.
template <class Object>
void expectSurvival(const Object& object, const Object& other) {
    const WString text = other.toJson();
    EXPECT_TRUE(survivesFailures(
        object, [&](Object& o) { o = other; }, kSameText));
    EXPECT_TRUE(survivesFailures(
        object, [](Object& o) { o.toJson(); }, kSameText));
    EXPECT_TRUE(survivesFailures(
        object, [&](Object& o) { o.fromJsonString(text); }, kSameText));
}

TEST(AllocationFailures, LinearRegression) {
    const Matrix x = predictors(30, 1);
    const Matrix wide = predictors(300, 2);
    const Vector y = x.getSubColumn(Util::range(0, 30), 1) + 0.5;
    const Vector response = wide.getSubColumn(Util::range(0, 300), 1) * 2.0;
    DataFrame frame(L"numbers");
    frame.append(Vector(300, 2.0));  // weights
    for (int j = 0; j < 3; ++j) {
        Vector column = wide.getSubColumn(Util::range(0, 300), j);
        column.setName(WString(L"a column with a long name ") + Convert::toString(j));
        frame.append(column);
    }
    Regression model;
    model.fit(x, y, Vector(30, 2.0), true);
    Regression other;
    expectSurvival(model, other.fit(frame, frame(Util::all, 1), false));
    for (const Regression& from : {model, Regression()}) {
        EXPECT_TRUE(survivesFailures(
            from, [&](Regression& m) { m.setWeights(Vector(300, 3.0)).fit(wide, response, true); },
            [&](Regression a, const Regression& b) {
                a.setWeights(b.getWeights());
                return kSameText(a, b);
            }));
        EXPECT_TRUE(survivesFailures(
            from, [&](Regression& m) { m.fit(wide, response, Vector(300, 1.5), true); },
            kSameText));
        EXPECT_TRUE(survivesFailures(
            from,
            [&](Regression& m) { m.fit(frame, frame(Util::all, 1), frame(Util::all, 0), true); },
            kSameText));
    }
    EXPECT_TRUE(survivesFailures(
        model,
        [&](const Regression& m) {
            const Vector fitted = m.predict(x);
            m.computeDiagnostics(m.computeResiduals(y, fitted).raw);
            m.computeNewPredictionIntervals(x, fitted, 0.9);
            m.computeFittedMulticollinearity(x);
            m.computeCoefficientInfo(0.9);
        },
        kSameText));
}

TEST(AllocationFailures, EncoderAndReducer) {
    const DataFrame frame = frameOf(labels(20));
    const DataFrame more = frameOf(labels(40));
    Encoder encoder;
    Encoder other;
    expectSurvival(encoder.setMapping(L"another column of a long name", {{L"category", 0}}),
                   other.fit(frame));
    EXPECT_TRUE(survivesFailures(
        encoder, [&](Encoder& e) { e.fit(more); }, kSameText));
    EXPECT_TRUE(survivesFailures(
        other, [&](Encoder& e) { e.transform(more); }, kSameText));
    const Encoder::CategoryMap map = Encoder::getCatColMapping(labels(6));
    EXPECT_TRUE(survivesFailures(
        encoder, [&](Encoder& e) { e.setMapping(L"a new column of a long name", map); },
        kSameText));
    EXPECT_TRUE(survivesFailures(
        encoder, [&](Encoder& e) { e.setMapping(other.getMapping()); }, kSameText));
    CatReducer reducer;
    CatReducer fitted;
    expectSurvival(reducer.setMapping(labels(1)[0], 3), fitted.fit(labels(20)));
    EXPECT_TRUE(survivesFailures(
        reducer, [&](CatReducer& r) { r.fit(labels(9)).transform(labels(4)); },
        [&](const CatReducer& a, const CatReducer& b) {
            return kSameText(a, b) || kSameText(a, CatReducer(b).fit(labels(9)));
        }));
    EXPECT_TRUE(survivesFailures(
        reducer, [&](CatReducer& r) { r.setMapper(fitted.getMapper()); }, kSameText));
    EXPECT_TRUE(survivesFailures(
        reducer, [&](CatReducer& r) { r.setMapping(labels(3)[2], 4); }, kSameText));
}

TEST(AllocationFailures, Samplers) {
    using namespace Engine::Sampling;
    const auto sameDraw = [](const auto& a, const auto& b) {
        return a.getSample() == b.getSample() && a.getSeed() == b.getSeed();
    };
    ScalableSRS simple(1000, 100);
    simple.sample();
    ScalableSRS another(50, 20);
    another.setSeed(7).sample();
    const auto draw = [](auto& sampler) { sampler.setSeed(sampler.getSeed()).sample(); };
    EXPECT_TRUE(survivesFailures(another, draw, sameDraw));
    EXPECT_TRUE(survivesFailures(
        another, [&](ScalableSRS& s) { s = simple; }, sameDraw));
    Partitioning parts(200, 0.5);
    EXPECT_TRUE(survivesFailures(parts, draw, sameDraw));
    StratifiedSRS strata;
    strata.setData(frameOf(labels(60))).setSampleSize(12).sample();
    StratifiedSRS numbers;
    DataFrame codes;
    codes.append(Vector{1, 2, 1, 3, 3, 3});
    numbers.setData(codes).setSampleSize(3);
    for (const StratifiedSRS& sampler : {strata, numbers}) {
        EXPECT_TRUE(survivesFailures(sampler, draw, sameDraw));
        EXPECT_TRUE(survivesFailures(
            sampler, [&](StratifiedSRS& s) { s = strata; }, sameDraw));
        EXPECT_TRUE(survivesFailures(
            sampler, [&](StratifiedSRS& s) { s.setData(frameOf(labels(9))); },
            [&](StratifiedSRS a, StratifiedSRS b) { return a.sample() == b.sample(); }));
    }
    OversamplingPartitioning lists;
    lists.setSeed(3).partition(labels(50), labels(1)[0]);
    OversamplingPartitioning other = lists;
    other.setSeed(4).partition(labels(80), labels(2)[1]);
    const auto sameLists = [](const OversamplingPartitioning& a,
                              const OversamplingPartitioning& b) {
        return a.getTraining() == b.getTraining() && a.getTest() == b.getTest();
    };
    EXPECT_TRUE(survivesFailures(
        lists, [&](OversamplingPartitioning& o) { o.partition(labels(70), labels(3)[2]); },
        sameLists));
    EXPECT_TRUE(survivesFailures(
        lists, [&](OversamplingPartitioning& o) { o = other; }, sameLists));
}

struct Bowl : Engine::Optimization::QuasiNewtonOptimizer {
    double function(const Vector& x) override { return Util::innerProduct(x - 3.0) + x[0] * x[1]; }
};

TEST(AllocationFailures, Optimiser) {
    const auto same = [](const Bowl& a, const Bowl& b) {
        return a.getNumIterations() == b.getNumIterations() &&
               a.getMaxIterations() == b.getMaxIterations() &&
               a.getApproximateHessianInverse().equalTo(b.getApproximateHessianInverse(), 0.0);
    };
    Bowl searched;
    searched.minimize(Vector{1, 2, 3});
    Bowl other;
    other.setMaxIterations(3).minimize(Vector{9, 9, 9, 9});
    EXPECT_TRUE(survivesFailures(
        searched,
        [](Bowl& b) {
            b.minimize(Vector{4, 4, 4, 4});
        },
        same));
    EXPECT_TRUE(survivesFailures(
        searched, [&](Bowl& b) { b = other; }, same));
}

TEST(AllocationFailures, SeriesData) {
    Series data(1, 1, 4);
    data.load({1, 2, 4, 7, 3, 8, 1, 9, 9, 2, 4, 4, 1, 5, 6}).preprocess().computePACF();
    Series other(1);
    other.load({3, 1, 4, 1, 5, 9, 2, 6}).lag(1, 2);
    const std::pair<const char*, void (*)(Series&)> operations[] = {
        {"load",
         [](Series& s) {
             s.load({5, 4, 3, 8, 9, 7, 7, 1});
         }},
        {"lag", [](Series& s) { s.lag(1, 1); }},
        {"mean", [](Series& s) { s.subtractMean(2.0); }},
        {"apply", [](Series& s) { s.apply(); }},
        {"preprocess", [](Series& s) { s.preprocess(); }},
        {"acvf", [](Series& s) { s.computeACVF(0, 3); }},
        {"pacf", [](Series& s) { s.computePACF(1, 3); }},
        {"postprocess", [](Series& s) { s.postprocess(std::vector<double>(12, 1.0)); }},
    };
    for (const Series& series : {data, other, Series(1)}) {
        expectSurvival(series, data);
        for (const auto& [name, operation] : operations) {
            if (series.numOriginalRecords() == 0 && std::string(name) == "preprocess") continue;
            EXPECT_TRUE(survivesFailures(series, operation, kSameText)) << name;
        }
    }
}

}  // namespace
}  // namespace Veltrix::Testing

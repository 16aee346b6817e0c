#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using namespace Engine::TS::Smoothing;
using Made = std::unique_ptr<Smoother>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLargest = std::numeric_limits<double>::max();
constexpr Tolerance kClose{1e-10, 1e-11, NaNRule::EqualsNaN};

/// A case of a reference file.
using Case = ReferenceData;

Made make(const Case& of) {
    const std::vector<double> all =
        CsvData("timeseries/series/" + of.text("series") + ".csv").numbers("x");
    const auto count = [&](const char* quantity, int otherwise) {
        return static_cast<std::uint64_t>(of.has(quantity) ? of.integer(quantity) : otherwise);
    };
    const auto size = static_cast<std::ptrdiff_t>(count("first", static_cast<int>(all.size())));
    const Vector series(all.begin(), all.begin() + size);
    const auto param = [&](const char* name) { return of.has(name) ? of.scalar(name) : 0.0; };
    const double alpha = param("alpha");
    const double beta = param("beta");
    const double gamma = param("gamma");
    const std::uint64_t trials = count("trials", 1);
    const std::uint64_t period = count("period", 0);
    const std::pair<const char*, std::function<Made()>> makers[] = {
        {"moving_average",
         [&] { return std::make_unique<MovingAverage>(series, count("window", 0)); }},
        {"exponential", [&] { return std::make_unique<Exponential>(series, alpha, trials); }},
        {"double_exponential",
         [&] { return std::make_unique<DoubleExponential>(series, alpha, beta, trials); }},
        {"holt_winters_multiplicative",
         [&] { return std::make_unique<MulHoltWinters>(series, alpha, beta, gamma, period); }},
        {"holt_winters_additive",
         [&] { return std::make_unique<AddHoltWinters>(series, alpha, beta, gamma, period); }},
        {"holt_winters_no_trend",
         [&] { return std::make_unique<NoTrendHoltWinters>(series, alpha, gamma, period); }}};
    for (const auto& [kind, maker] : makers) {
        if (of.text("kind") == kind) return maker();
    }
    throw std::runtime_error(of.text("kind"));
}

/// Level, trend and seasonal indexes, where the smoother has them.
void expectStates(const Smoother& smoother, const Case& of) {
    if (const auto* s = dynamic_cast<const Exponential*>(&smoother)) {
        EXPECT_TRUE(isNear(s->level(), of.scalar("final_level"), kClose));
        if (of.has("initial_level")) {
            EXPECT_TRUE(isNear(s->initialLevel(), of.scalar("initial_level"), kClose));
        }
    }
    if (const auto* s = dynamic_cast<const DoubleExponential*>(&smoother)) {
        EXPECT_TRUE(isNear(s->trend(), of.scalar("final_trend"), kClose));
        if (of.has("initial_trend")) {
            EXPECT_TRUE(isNear(s->initialTrend(), of.scalar("initial_trend"), kClose));
        }
    }
    const auto* const seasonal = dynamic_cast<const HoltWinters*>(&smoother);
    if (seasonal == nullptr || !of.has("initial_seasonal")) return;
    EXPECT_TRUE(allNear(seasonal->initialSeasonal(), of.vector("initial_seasonal"), kClose));
    EXPECT_TRUE(allNear(seasonal->seasonal(), of.vector("final_seasonal"), kClose));
}

TEST(Smoothing, GivenParametersMatchReferences) {
    const ReferenceData file("timeseries/smoothing_fixed");
    for (const std::string& name : file.texts("cases")) {
        SCOPED_TRACE(name);
        const Case of = file.part(name);
        const Made smoother = make(of);
        smoother->run();
        EXPECT_TRUE(allNear(smoother->smoothed(), of.vector("smoothed"), kClose));
        expectStates(*smoother, of);
        const std::vector<double> errors = of.vector("error_measures");
        for (int code = 0; code < 7; ++code) {
            const auto measure = static_cast<ErrorMeasure>(code);
            const double expected = errors.at(static_cast<std::size_t>(code));
            EXPECT_TRUE(isNear(smoother->computeForecastError(measure), expected, {1e-9, 1e-9}))
                << code;
        }
        EXPECT_EQ(smoother->error(), smoother->computeForecastError(ErrorMeasure{}));
        EXPECT_TRUE(
            isNear(smoother->computeForecastErrorVariance(), of.scalar("error_variance"), kClose));
        const std::vector<double> forecasts = of.vector("forecast");
        const auto h = static_cast<std::int64_t>(forecasts.size());
        EXPECT_TRUE(allNear(smoother->forecast(h), forecasts, kClose));
        EXPECT_TRUE(allNear(smoother->forecastsStdDev(), of.vector("forecast_sd"), kClose));
        EXPECT_TRUE(
            allNear(smoother->forecast(h, true, 2024), of.vector("noisy_53bit_kept"), kClose));
    }
}

TEST(Smoothing, SearchesChooseTheTrialsOfReferences) {
    const ReferenceData file("timeseries/smoothing_search");
    for (const std::string& name : file.texts("cases")) {
        SCOPED_TRACE(name);
        const Case of = file.part(name);
        const Made smoother = make(of);
        smoother->setErrorMeasure(static_cast<ErrorMeasure>(of.scalar("error_measure")));
        smoother->runAuto();
        EXPECT_EQ(smoother->params(),
                  (Vector{of.scalar("alpha"), of.scalar("beta"), of.scalar("gamma")}));
        EXPECT_TRUE(isNear(smoother->error(), of.scalar("error"), {1e-10}));
        expectStates(*smoother, of);
        EXPECT_TRUE(allNear(smoother->forecast(12), of.vector("forecast"), kClose));
        EXPECT_TRUE(allNear(smoother->forecastsStdDev(), of.vector("forecast_sd"), kClose));
        // The sums of trials side by side are those of one alone, to the last digit.
        const double found = smoother->error();
        EXPECT_EQ(smoother->run().error(), found);
        // The quasi-Newton search ends at least as low as it starts.
        const Made few = smoother->clone();
        few->setNumTrials(24).runAuto();
        EXPECT_LE(smoother->runOptimised().error(), few->error());
    }
}

TEST(Smoothing, OptimisedParametersAreAMinimum) {
    const ReferenceData file("timeseries/smoothing_search");
    for (const char* name : {"exp_nile_mse", "dbl_www_mse", "add_acc_mse", "mul_jj_mse"}) {
        SCOPED_TRACE(name);
        const Case of = file.part(name);
        const Made smoother = make(of);
        smoother->runOptimised();
        EXPECT_LE(smoother->error(), of.scalar("error") * (1 + 1e-6))
            << "no worse than 2000 trials";
    }
}

TEST(Smoothing, ConstantSeriesIsSmoothedExactly) {
    for (const double value : {0.1, 1e9 + 0.3, -1e-9}) {
        const Vector series(30, value);
        const Made smoothers[] = {std::make_unique<MovingAverage>(series, 1),
                                  std::make_unique<Exponential>(series, 0.25, 10),
                                  std::make_unique<DoubleExponential>(series, 0.5, 0.5, 10),
                                  std::make_unique<AddHoltWinters>(series, 0.5, 0.25, 0.5, 7),
                                  std::make_unique<NoTrendHoltWinters>(series, 0.5, 0.25, 30)};
        for (const Made& smoother : smoothers) {
            EXPECT_EQ(smoother->run().error(), 0.0);
            EXPECT_EQ(smoother->forecast(9), Vector(9, value));
            EXPECT_EQ(smoother->forecastsStdDev(), Vector(9, 0.0));
        }
    }
}

TEST(Smoothing, ShortSeriesAndUnusableErrors) {
    // One value: nothing to compare, a level to forecast with.
    Exponential one({5}, 0.5, 50);
    one.runAuto();
    EXPECT_EQ(one.error(), kLargest);
    EXPECT_EQ(one.alpha(), 0.5) << "no trial wins";
    EXPECT_EQ(one.forecast(2), (Vector{5, 5}));
    EXPECT_TRUE(std::isnan(one.forecastsStdDev()[0]));
    EXPECT_EQ(DoubleExponential({5}, 0.5, 0.5, 1).run().smoothed(), Vector{5});
    EXPECT_EQ(AddHoltWinters({5}, 0.5, 0.5, 0.5, 1).run().forecast(1), Vector{5});

    Exponential coded({1, 2, 4}, 0.5, 50);
    coded.setErrorMeasure(static_cast<ErrorMeasure>(6)).runAuto();
    EXPECT_EQ(coded.error(), kLargest);
    EXPECT_EQ(coded.alpha(), 0.5);
    Exponential zeros({0, 0, 1e-16}, 0.5, 3);
    zeros.run();
    EXPECT_EQ(zeros.computeForecastError(ErrorMeasure::meanAbsolutePercentageError), kLargest);
    EXPECT_EQ(zeros.computeForecastError(ErrorMeasure::trackingSignal), 0.0);

    // Nothing to divide by: the smoothed values stay 0.
    for (const Vector& flat : {Vector(8, 0.0), Vector{0, 1, 0, 1, 0, 1, 0, 1, 0}}) {
        MulHoltWinters smoother(flat, 0.5, 0.5, 0.5, 2);
        smoother.runAuto();
        EXPECT_EQ(smoother.smoothed(), Vector(flat.size(), 0.0));
        EXPECT_EQ(smoother.computeForecastErrorVariance(), 0.0);
        EXPECT_EQ(smoother.params(), (Vector{7584 / 32767.0, 19164 / 32767.0, 25795 / 32767.0}))
            << "all trials are alike: the first one wins";
    }
    // All 2000 trials in blocks, the last one shorter; none at all.
    Exponential last({1, 2, 4, 3}, 0.5, 9);
    Exponential none({1, 2, 4, 3}, 0.5, 0);
    EXPECT_EQ(none.runAuto().params()[0], 0.5);
    EXPECT_NE(last.runAuto().params()[0], 0.5);
}

TEST(Smoothing, WrongArgumentsAreRefused) {
    const Vector x{1, 2, 4, 3};
    const std::pair<std::function<void()>, const char*> mistakes[] = {
        {[&] { MovingAverage(x, 0); }, "window 0, 1 to 4"},
        {[&] { MovingAverage(x, 5); }, "window 5, 1 to 4"},
        {[&] { AddHoltWinters(x, 0, 0, 0, 0); }, "period 0, 1 to 4"},
        {[&] { MulHoltWinters(x, 0, 0, 0, 5); }, "period 5, 1 to 4"},
        {[&] { NoTrendHoltWinters(x, 0.5, 1.5, 2); }, "gamma 1.5, 0 to 1"},
        {[&] { DoubleExponential(x, 1, kNaN, 2); }, "beta nan"},
        {[&] { Exponential({}, 0.5, 2); }, "0 values in the series"},
        {[&] {
             Exponential({1, kNaN}, 0.5, 2);
         },
         "is nan"},
        {[&] { Exponential(x, 0.5, 2).run().forecast(-1); }, "-1 steps"},
        {[&] { Exponential(x, 0.5, 2).getForecastTable(1.0); }, "confidence 1"},
        {[&] {
             MovingAverage(x, 3).setSeries({1, 2});
         },
         "window 3, 1 to 2"},
        {[&] { AddHoltWinters().run(); }, "0 values"},
        {[&] { MulHoltWinters().forecast(1); }, "0 values"},
        {[&] { MovingAverage().computeSmoothedValues(); }, "0 values"},
    };
    for (const auto& [mistake, text] : mistakes) EXPECT_TRUE(refuses(mistake, text));
}

TEST(Smoothing, CancellingLeavesTheSmootherAsItWas) {
    Vector series;
    for (int t = 0; t < 100000; ++t) series.push_back(20 + t % 7 + std::sin(t));
    MulHoltWinters smoother(series, 0.5, 0.25, 0.125, 7);
    smoother.run().forecast(3);
    const WString before = smoother.toJson();
    const ProgressScope scope([](const Progress& p) { return p.fraction < 0.01; });
    EXPECT_THROW(smoother.runAuto(), Cancelled);
    EXPECT_THROW(smoother.runOptimised(), Cancelled);
    EXPECT_THROW(smoother.forecast(100000), Cancelled);
    EXPECT_EQ(smoother.toJson(), before);
}

TEST(Smoothing, Tables) {
    Vector series{3, 5, 4, 6, 5, 7};
    series.setName(L"sales");
    AddHoltWinters smoother(series, 0.5, 0.25, 0.125, 2);
    smoother.run().forecast(3);
    const DataFrame values = smoother.getSeriesTable();
    EXPECT_EQ(values.getName(), L"Smoothed Values: sales");
    EXPECT_EQ(values(5, L"Residual").toDouble(), 7 - smoother.smoothed()[5]);
    const DataFrame ahead = smoother.getForecastTable(0.9);
    EXPECT_TRUE(isNear(ahead(2, L"Upper 90%").toDouble(),
                       smoother.forecasts()[2] + 1.6448536269514722 * smoother.forecastsStdDev()[2],
                       {1e-14}));
    const DataFrame params = smoother.getParameterTable();
    EXPECT_EQ(params.getNumRows(), 7) << "three parameters, level, trend, two indexes";
    EXPECT_EQ(params(6, L"Value").toDouble(), smoother.seasonal()[1]);
    const DataFrame errors = smoother.getErrorTable();
    EXPECT_EQ(errors(0, L"Value").toDouble(), smoother.error());
}

TEST(Smoothing, StoredNumbersMustFitTogether) {
    AddHoltWinters smoother({3, 5, 4, 6, 5, 7}, 0.5, 0.25, 0.125, 2);
    smoother.run();
    expectDamageRefused(smoother, {{"\"alpha\":0.5", "\"alpha\":1.5", "alpha"},
                                   {"\"period\":2", "\"period\":0", "period"},
                                   {"\"period\":2", "\"period\":7", "period"},
                                   {"\"series\":[3,", "\"series\":[\"NaN\",", "series"}});
}

}  // namespace
}  // namespace Veltrix::Testing

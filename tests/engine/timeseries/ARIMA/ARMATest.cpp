#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/FailingAllocations.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::TooFewRecords;
using Engine::TS::ARIMA::AR;
using Engine::TS::ARIMA::ARMA;
using Engine::TS::ARIMA::Data;
using Engine::TS::ARIMA::InitialEstimates;
using Engine::TS::ARIMA::LjungBox;
using Engine::TS::ARIMA::MA;
using Engine::TS::ARIMA::Predictions;
using Engine::TS::ARIMA::SARMA;
using Values = std::vector<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// One case of a reference file.
struct Case : ReferenceData {
    Case(const ReferenceData& file, const std::string& name) : ReferenceData(file.part(name)) {}

    std::uint64_t count(const std::string& key) const {
        return static_cast<std::uint64_t>(scalar(key));
    }
    Values list(const std::string& key) const { return has(key) ? vector(key) : Values(); }
    Values series() const {
        return CsvData("timeseries/series/" + text("series") + ".csv").numbers("x");
    }
    Data data() const { return Data(count("d"), count("D"), count("period")).load(series()); }
    /// φ, θ, Φ and Θ one after another.
    Values coefficients(const std::string& prefix = {}) const {
        Values all;
        for (const char* group : {"ar", "ma", "sar", "sma"}) {
            const Values part = list(prefix + group);
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }
};

Values first(const Values& values, std::size_t count) {
    return {values.begin(), values.begin() + static_cast<std::ptrdiff_t>(count)};
}

/// Numbers without pattern between −0.5 and 0.5.
Values noise(std::size_t n, double scale = 1.0) {
    Values values(n);
    std::uint32_t state = 1;
    for (double& value : values) {
        state = state * 214013 + 2531011;
        value = scale * ((state >> 16 & 32767) / 32767.0 - 0.5);
    }
    return values;
}

TEST(ArmaLikelihood, MatchesReferencesAtGivenCoefficients) {
    const ReferenceData file("timeseries/likelihood_points");
    for (const std::string& name : file.texts("cases")) {
        SCOPED_TRACE(name);
        const Case at(file, name);
        SARMA model(at.list("ar"), at.list("ma"), at.list("sar"), at.list("sma"));
        model.loadData(at.data()).preprocess();
        const Vector parameters = model.parameters();
        EXPECT_TRUE(isNear(model.function(parameters), at.scalar("objective"), {1e-11}));
        const Values& series = model.data().processedData();
        const Predictions found = model.predict(series);
        const Values predictions = at.list("predictions");
        const double scale = std::sqrt(at.scalar("sigma2"));
        EXPECT_TRUE(
            allNear(first(found.values, predictions.size()), predictions, {1e-9, 1e-9 * scale}));
        EXPECT_TRUE(allNear(first(found.variances, predictions.size()), at.list("r"), {1e-11}));
        EXPECT_TRUE(
            isNear(model.computeWhiteNoiseVariance(series, found), at.scalar("sigma2"), {1e-11}));
        EXPECT_TRUE(allNear(model.computePsi(19).psi(), at.list("psi"), {1e-10, 1e-13}));

        SARMA processed = model;
        processed.setConstantIncluded(false).loadData(Data(0, 0, at.count("period")).load(series));
        const Values ahead = at.list("forecast_processed");
        EXPECT_TRUE(allNear(processed.forecast(ahead.size()), ahead, {1e-9, 1e-9 * scale}));

        if (!at.has("plus_sign_variant.objective")) continue;
        model.setMultiplicativeMA(true);
        EXPECT_TRUE(
            isNear(model.function(parameters), at.scalar("plus_sign_variant.objective"), {1e-11}));
    }
}

/// A common factor of both polynomials cancels, also near the unit circle; so do prediction errors
/// of AR(1) with known variances.
TEST(ArmaLikelihood, StaysExactNearTheUnitCircle) {
    const Values series = noise(500);
    ARMA white(0, 0);
    const double plain = white.loadData(series).preprocess().function({});
    ARMA cancelled(1, 1);
    cancelled.loadData(series).preprocess();
    ARMA autoregression(1, 0);
    autoregression.loadData(series).preprocess();
    const Values& x = autoregression.data().processedData();
    for (const double phi : {0.9, 0.9999, -0.9999999, 1.0 - 1e-9}) {
        EXPECT_TRUE(isNear(cancelled.function({phi, -phi}), plain, {1e-9})) << phi;
        double squares = x[0] * x[0] * (1.0 - phi) * (1.0 + phi);
        for (std::size_t t = 1; t < x.size(); ++t) squares += std::pow(x[t] - phi * x[t - 1], 2);
        const double expected = 500.0 * (std::log(squares / 500.0) + std::log(2.0 * M_PI) + 1.0) -
                                std::log((1.0 - phi) * (1.0 + phi));
        EXPECT_TRUE(isNear(autoregression.function({phi}), expected, {1e-11})) << phi;
    }
}

TEST(ArmaLikelihood, IsFiniteEverywhereAndAllocatesNothing) {
    ARMA model(2, 2);
    model.loadData(noise(3000)).preprocess();
    const Vector inside{0.5, 0.2, 0.4, -0.3};
    const double good = model.function(inside);
    EXPECT_LT(model.function({0.1, 0.1, 0.0, 50.0}), 1e5) << "not invertible, and a likelihood";
    for (const Vector& outside : {Vector{1.0, 0.0, 0.4, 0.1}, Vector{0.5, 0.6, 0.4, 0.1},
                                  Vector{-3.0, 1e9, 0.4, 0.1}, Vector{kNaN, 0.0, 0.0, 0.0},
                                  Vector{0.1, 0.0, kInfinity, 0.0}, Vector{0.1, 0.1, 1e200, 0.0}}) {
        const double value = model.function(outside);
        EXPECT_TRUE(std::isfinite(value) && value > good) << value;
    }
    const FailingAllocations counted;
    EXPECT_EQ(model.function(inside), good);
    EXPECT_EQ(FailingAllocations::attempts(), 0);
}

struct Coefficients {
    Values estimates, errors, pValues;
};

Coefficients coefficientsOf(const ARMA& model) {
    Coefficients all;
    const auto join = [](const ARMA::ModelParts& parts, Values& target) {
        for (const Values* group : {&parts.ar(), &parts.ma(), &parts.sar(), &parts.sma()}) {
            target.insert(target.end(), group->begin(), group->end());
        }
    };
    join(model.details(), all.estimates);
    join(model.standardErrors(), all.errors);
    join(model.pValues(), all.pValues);
    return all;
}

void expectEstimates(const ARMA& model, const Case& at, const std::string& prefix) {
    const double objective = at.scalar(prefix + "objective");
    EXPECT_LE(model.lnL(), objective + 1e-7 * std::fabs(objective));
    EXPECT_GE(model.lnL(), objective - 1e-7 * std::fabs(objective));
    const Coefficients found = coefficientsOf(model);
    const Values expected = at.coefficients(prefix);
    const Values errors = at.list(prefix + "se_observed_information");
    ASSERT_EQ(found.estimates.size(), expected.size());
    for (std::size_t k = 0; k < expected.size(); ++k) {
        EXPECT_TRUE(isNear(found.estimates[k], expected[k], {0, 1e-5 * errors[k]}));
    }
    EXPECT_TRUE(allNear(found.errors, errors, {1e-4}));
}

void expectTests(const std::vector<LjungBox>& tests, const Case& at) {
    const auto items = at.parts("ljung_box", "lag");
    ASSERT_EQ(tests.size(), items.size());
    for (std::size_t k = 0; k < items.size(); ++k) {
        EXPECT_EQ(tests[k].lag, items[k].integer("lag"));
        EXPECT_EQ(tests[k].degreesOfFreedom, items[k].integer("df"));
        EXPECT_TRUE(isNear(tests[k].statistic, items[k].scalar("statistic"), {1e-4}));
        EXPECT_TRUE(isNear(tests[k].pValue, items[k].scalar("p_value"), {1e-3}));
    }
}

TEST(ArmaFit, MatchesReferences) {
    const ReferenceData file("timeseries/arima_fits");
    for (const std::string& name : file.texts("cases")) {
        SCOPED_TRACE(name);
        const Case at(file, name);
        SARMA model(at.count("p"), at.count("q"), at.count("d"), at.count("P"), at.count("Q"),
                    at.count("D"), at.count("period"));
        model.loadData(at.series()).preprocess().fit().computeModelDetails();
        expectEstimates(model, at, "");
        EXPECT_TRUE(isNear(model.whiteNoiseVariance(), at.scalar("sigma2"), {1e-6}));
        EXPECT_TRUE(
            allNear(coefficientsOf(model).pValues, at.list("p_value_from_se"), {1e-3, 1e-15}));
        EXPECT_TRUE(isNear(model.details().constant(), at.scalar("constant"), {1e-6, 1e-12}));
        EXPECT_TRUE(
            isNear(model.standardErrors().constant(), at.scalar("constant_se"), {1e-6, 1e-12}));
        EXPECT_TRUE(
            isNear(model.pValues().constant(), at.scalar("constant_p_value"), {1e-4, 1e-12}));
        EXPECT_TRUE(isNear(model.aic(), at.scalar("criteria.aic"), {1e-7}));
        EXPECT_TRUE(isNear(model.aicc(), at.scalar("criteria.aicc"), {1e-7}));
        EXPECT_TRUE(isNear(model.bic(), at.scalar("criteria.bic"), {1e-7}));

        const Values ahead = at.list("forecast");
        EXPECT_TRUE(allNear(model.forecast(ahead.size()), ahead, {1e-6}));
        EXPECT_EQ(static_cast<const ARMA&>(model).forecast(at.series(), ahead.size()).size(),
                  ahead.size());
        EXPECT_TRUE(allNear(static_cast<const ARMA&>(model).forecast(at.series(), ahead.size()),
                            model.forecasts(), {1e-12}));
        model.computeForecastsStdDev().computeIntegratedForecastsStdDev();
        EXPECT_TRUE(allNear(model.forecastsStdDev(), at.list("forecast_sd_stationary"), {1e-5}));
        EXPECT_TRUE(
            allNear(model.integratedForecastsStdDev(), at.list("forecast_sd_integrated"), {1e-5}));
        expectTests(model.performLjungBoxTest().ljungBox(), at);

        if (!at.has("plus_sign_variant.objective")) continue;
        model.setMultiplicativeMA(true).fit().computeModelDetails();
        expectEstimates(model, at, "plus_sign_variant.");
    }
}

/// Likelihoods with several maxima; the values are the best of R 4.2's arima from 61 starts.
TEST(ArmaFit, FindsTheHighestOfSeveralMaxima) {
    const struct {
        const char* series;
        std::uint64_t p, q, d;
        double objective;
    } cases[] = {{"sunspot_year", 3, 3, 0, 2395.6878313260},
                 {"nile", 3, 3, 1, 1251.7464382893},
                 {"usaccdeaths", 3, 3, 1, 1111.6326973272},
                 {"lynx", 4, 2, 0, 1853.1771097089}};
    for (const auto& [series, p, q, d, objective] : cases) {
        ARMA model(p, q, d);
        const CsvData csv(std::string("timeseries/series/") + series + ".csv");
        model.loadData(csv.numbers("x")).preprocess().fit();
        EXPECT_LE(model.lnL(), objective + 1e-6 * std::fabs(objective)) << series << p << q;
    }
}

TEST(ArmaFit, DoesNotDependOnTheScale) {
    const CsvData csv("timeseries/series/lakehuron_m570.csv");
    const Values plain = csv.numbers("x");
    const ARMA expected = ARMA(ARMA(1, 1)).loadData(plain).preprocess().fit();
    for (const double scale : {1e9, 1e-9, 1e-120, 1e120}) {
        Values series = plain;
        for (double& value : series) value = value * scale;
        ARMA model(1, 1);
        model.loadData(series).preprocess().fit().computeModelDetails();
        EXPECT_TRUE(allNear(model.parameters(), expected.parameters(), {1e-5})) << scale;
        EXPECT_GT(model.standardErrors().ar().at(0), 0.07);
        EXPECT_EQ(model.lnL() == 0.0, scale < 1.0) << "the variance vanishes";
    }
}

TEST(ArmaFit, SeriesWithLittleInThem) {
    ARMA constant(1, 1, 1);
    constant.loadData(Values(20, 7.0)).preprocess().fit().computeModelDetails();
    EXPECT_EQ(constant.parameters(), Vector(2, 0.0));
    EXPECT_EQ(constant.lnL(), 0.0);
    EXPECT_EQ(constant.pValues().ar().at(0), 0.0);
    EXPECT_EQ(constant.forecast(2), (Values{7.0, 7.0}));
    EXPECT_TRUE(constant.performLjungBoxTest().ljungBox().empty());

    ARMA eight(1, 1, 1);
    eight.loadData(noise(8)).preprocess().fit();
    EXPECT_LT(eight.lnL(), ARMA(0, 0, 1).loadData(noise(8)).preprocess().function({}));
    EXPECT_EQ(eight.aicc() - eight.aic(), 2.0 * 4 * 5 / 2);
    ARMA six(1, 1, 1);
    EXPECT_EQ(six.loadData(noise(6)).preprocess().fit().aicc(), std::numeric_limits<double>::max());

    ARMA twelve(0, 0);
    EXPECT_TRUE(
        twelve.loadData(noise(12)).preprocess().fit().performLjungBoxTest().ljungBox().empty());
    ARMA thirteen(0, 0);
    thirteen.loadData(noise(13)).preprocess().fit().performLjungBoxTest();
    EXPECT_EQ(thirteen.ljungBox().size(), 1u);
}

/// What was given stays; what the data wants is found from the other method's estimates as well.
TEST(ArmaFit, SettingsAreFollowed) {
    const Values series = noise(200);
    ARMA given(Values{0.5, -0.1, 0.4}, 2);
    EXPECT_EQ(given.arOrder(), 2u);
    given.loadData(series).preprocess().fit().computeModelDetails();
    EXPECT_EQ(given.parameters(), (Vector{0.5, -0.1, 0.4}));
    EXPECT_EQ(given.lnL(), given.function(given.parameters()));

    const Values lake = CsvData("timeseries/series/lakehuron_m570.csv").numbers("x");
    ARMA start(1, 1);
    start.loadData(lake).preprocess().setMaxIterations(0);
    start.fit();
    ARMA same(1, 1);
    same.loadData(lake).preprocess().computeInitialEstimates();
    EXPECT_TRUE(allNear(start.parameters(), same.parameters(), {1e-12}));
    ARMA innovations(1, 1);
    innovations.setInitialEstimates(InitialEstimates::innovations).loadData(lake).preprocess();
    EXPECT_NE(innovations.computeInitialEstimates().parameters(), same.parameters());
    EXPECT_TRUE(allNear(innovations.fit().parameters(), same.fit().parameters(), {0, 1e-4}));

    Values trend = series;
    for (std::size_t t = 0; t < trend.size(); ++t) trend[t] += 0.2 * static_cast<double>(t);
    ARMA drift(1, 0, 1);
    drift.loadData(trend).preprocess().fit().computeModelDetails();
    ARMA none(1, 0, 1);
    none.setConstantIncluded(false).loadData(trend).preprocess().fit().computeModelDetails();
    EXPECT_GT(none.lnL(), drift.lnL());
    EXPECT_EQ(none.details().constant(), 0.0);
    EXPECT_GT(drift.forecast(50).back(), none.forecast(50).back() + 5.0);
}

/// Brockwell and Davis, Introduction to Time Series and Forecasting.
TEST(ArmaTextbook, PreliminaryEstimates) {
    const ReferenceData file("timeseries/arima_textbook");
    const auto expected = [&](const char* name) { return Case(file, name); };
    const auto within = [](const Case& at) { return Tolerance{0.0, at.scalar("tolerance")}; };
    const Case yuleWalker = expected("lake_yule_walker_ar2");
    Data lake;
    lake.load(yuleWalker.series()).preprocess();
    AR two(lake, 2);
    two.fit();
    EXPECT_TRUE(allNear(Values{two.parameters()[0], two.parameters()[1], two.whiteNoiseVariance()},
                        yuleWalker.list("values"), within(yuleWalker)));
    EXPECT_EQ(two.residuals().size(), 96u);
    const Case levinson = expected("lake_durbin_levinson");
    EXPECT_TRUE(allNear(AR(lake, 5).fit().parameters(), levinson.list("values"), within(levinson)));
    const Case innovations = expected("lake_innovations_ma10");
    EXPECT_TRUE(
        allNear(MA(lake, 10).fit().parameters(), innovations.list("values"), within(innovations)));
}

TEST(Arma, FramesShowTheModel) {
    const CsvData csv("timeseries/series/airpassengers_log.csv");
    SARMA model(0, 1, 1, 0, 1, 1, 12);
    model.setMultiplicativeMA(true)
        .loadData(csv.numbers("x"))
        .preprocess()
        .fit()
        .computeModelDetails();
    const DataFrame fitted = model.getFittedFrame();
    EXPECT_EQ(fitted.getNumRows(), 144);
    model.computeFittedValues();
    const Vector actual = Convert::toDoubleVector(fitted(Util::all, 0));
    const Vector values = Convert::toDoubleVector(fitted(Util::all, 1));
    const Vector residuals = Convert::toDoubleVector(fitted(Util::all, 2));
    EXPECT_TRUE(std::isnan(values[12]) && std::isnan(residuals[12]));
    for (std::uint64_t t = 13; t < 144; ++t) {
        EXPECT_TRUE(isNear(values[t] + residuals[t], actual[t], {1e-12}));
        EXPECT_EQ(residuals[t], model.residuals()[t - 13]);
        EXPECT_EQ(values[t], model.fitted()[t]);
    }
    const DataFrame ahead = model.getForecastFrame(3, 0.9);
    const Values forecasts = model.forecast(3);
    const Values& deviations = model.computeIntegratedForecastsStdDev().integratedForecastsStdDev();
    const Vector upper = Convert::toDoubleVector(ahead(Util::all, 3));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(isNear(upper[i], forecasts[i] + 1.6448536269514722 * deviations[i], {1e-12}));
    }
    const DataFrame table = model.getCoefficientFrame();
    EXPECT_EQ(table.getRowNames(), (StringVector{L"Constant", L"MA 1", L"Seasonal MA 1"}));
    EXPECT_EQ(Convert::toDoubleVector(table(Util::all, 1))[2], model.standardErrors().sma().at(0));
}

TEST(Arma, ExpandsSeasonalPolynomials) {
    SARMA model({0.5}, {}, {0.4}, {});
    model.loadData(Data(0, 0, 12).load(noise(40)));
    Vector expected(13, 0.0);
    expected[0] = 0.5;
    expected[11] = 0.4;
    expected[12] = -0.2;
    EXPECT_EQ(model.expandedParameters(), expected);
    const SARMA plain({0.5, 0.1}, {0.3}, {}, {});
    EXPECT_EQ(plain.expandedParameters(), (Vector{0.5, 0.1, 0.3}));
}

TEST(Arma, RefusesWhatCannotBe) {
    const auto load = [](ARMA model, Values series) {
        model.loadData(std::move(series)).preprocess().fit();
    };
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"period 0, at least 2", [] { ARMA(0, 0, 0, 1); }},
        {"period 1, at least 2", [] { ARMA(0, 0, 0, 1, 1); }},
        {"period 1, at least 2", [] { SARMA(0, 0, 0, 1, 0, 0, 1); }},
        {"period 0, at least 2",
         [] {
             SARMA(Values{}, {}, {0.5}, {}).loadData(Values{1, 2, 3});
         }},
        {"AR order", [] { ARMA(static_cast<std::uint64_t>(-1), 0); }},
        {"value of record 2 is nan",
         [&] {
             load(ARMA(1, 0), {1, 2, kNaN, 3});
         }},
        {"is inf",
         [&] {
             load(ARMA(1, 0), {1, kInfinity, 3});
         }},
        {"AR coefficient", [] { ARMA(Values{kNaN}, Values{}); }},
        {"coefficients", [] { ARMA(Values{0.5}, 2); }},
        {"coefficients", [] { SARMA(Values{0.5}, 1, 1, 0, 0); }},
        {"coefficients",
         [] {
             ARMA(1, 0).function({0.1, 0.2});
         }},
        {"horizon",
         [&] {
             ARMA(Values{0.5}, Values{}).loadData(noise(9)).forecast(static_cast<std::size_t>(-1));
         }},
        {"empty series", [] { ARMA(Values{0.5}, Values{}).forecast(3); }},
        {"not fitted", [&] { ARMA(1, 0).loadData(noise(9)).forecast(3); }},
        {"not stationary", [&] { ARMA(Values{1.0}, Values{}).loadData(noise(9)).forecast(3); }},
        {"confidence",
         [&] { ARMA(Values{0.5}, Values{}).loadData(noise(9)).getForecastFrame(3, 1.0); }},
    };
    for (const auto& [text, action] : cases) EXPECT_TRUE(refuses(action, text));
    EXPECT_THROW(load(ARMA(2, 2), noise(4)), TooFewRecords);
    EXPECT_THROW(load(ARMA(0, 0), {}), TooFewRecords);
    EXPECT_THROW(load(ARMA(0, 0, 3), noise(3)), TooFewRecords);
    EXPECT_THROW(SARMA(0, 0, 0, 1, 0, 0, 12).loadData(noise(12)).preprocess().fit(), TooFewRecords);
    EXPECT_TRUE(std::isnan(ARMA(1, 0).lnL()));
}

TEST(Arma, CanBeCancelled) {
    ARMA model(2, 2, 1);
    model.loadData(noise(50000)).preprocess();
    expectCancelled(model, "Maximising the likelihood", [](ARMA& m) { m.fit(); });
}

TEST(Arma, StoredNumbersMustFitTogether) {
    SARMA model(1, 1, 0, 0, 1, 0, 4);
    model.loadData(noise(30)).preprocess().fit().computeModelDetails();
    expectDamageRefused(model, {{"\"arOrder\":1", "\"arOrder\":2", "\"parameters\""},
                                {"\"maOrder\":2", "\"maOrder\":2000000", "\"maOrder\""},
                                {"\"p\":1", "\"p\":0", "\"seasonalP\""},
                                {"\"period\":4", "\"period\":1", "\"data\""},
                                {"\"residuals\":[", "\"residuals\":[1,", "\"residuals\""},
                                {"\"ar\":[", "\"ar\":[1,", "\"standardErrors\""}});
}

}  // namespace
}  // namespace Veltrix::Testing

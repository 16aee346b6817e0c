#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Engine/TS/Smoothing.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/SeriesFamily.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using namespace Engine::TS::Smoothing;

enum class Method { Moving, Exponential, Double, Multiplicative, Additive, NoTrend };

const Choices<Method> kMethods{
    {"exponential", Method::Exponential}, {"moving", Method::Moving},
    {"double", Method::Double},           {"multiplicative", Method::Multiplicative},
    {"additive", Method::Additive},       {"no-trend", Method::NoTrend}};

const Choices<ErrorMeasure> kMeasures{
    {"mse", ErrorMeasure::meanSquaredError},  {"mape", ErrorMeasure::meanAbsolutePercentageError},
    {"mad", ErrorMeasure::meanAbsoluteError}, {"sum", ErrorMeasure::sumOfErrors},
    {"mean", ErrorMeasure::meanError},        {"tracking", ErrorMeasure::trackingSignal}};

constexpr const char* kMethod = "--method";
constexpr const char* kWindow = "--window";
constexpr const char* kPeriod = "--period";
constexpr const char* kSearch = "--search";
constexpr const char* kOptimise = "--optimise";
constexpr std::array kParams{"--alpha", "--beta", "--gamma"};

class Smoothing : public StoredFamily<Smoothing, SeriesFamily> {
  public:
    FamilyNames names() const override {
        return {"smooth", "Smooths and forecasts a series by averages or exponential weights",
                "smoothing", "", "--method exponential --alpha 0.3"};
    }

    void checkOptions() const override {
        const std::array<bool, 3> has = paramsOf(method_);
        for (std::size_t k = 0; k < has.size(); ++k) {
            const bool given = !std::isnan(params_[k]);
            if (given && !has[k]) refuse(kParams[k], "no such parameter");
            if (has[k] && !given && !search_ && !optimise_) {
                throw UserError(fmt::format("{}: not given, expected it, {} or {}", kParams[k],
                                            kSearch, kOptimise));
            }
        }
        expectOnly(kWindow, window_ > 0, method_ == Method::Moving);
        expectOnly(kPeriod, period_ > 0, isSeasonal());
        if (method_ == Method::Moving && search_) refuse(kSearch, "nothing to search for");
        if (method_ == Method::Moving && optimise_) refuse(kOptimise, "nothing to search for");
    }

    std::string title(const std::string& series) const override {
        return fmt::format("Smoothing of {}: {}", series, nameOf(method_, kMethods));
    }

    static void describeFields(auto& a, auto& self) {
        storedChoice(a, "method", self.method_, kMethods);
        describeSeries(a, self);
        if constexpr (std::remove_reference_t<decltype(a)>::kReads) {
            self.smoother_ = make(self.method_, {}, {}, 0);
        }
        storedModel(a, "model", *self.smoother_);
    }

  protected:
    void modelOptions(OptionGroup& own) override {
        own.choice(kMethod, method_, "How to smooth", kMethods).required();
        own.count(kWindow, window_, "Values of a moving average", 1).placeholder("W");
        own.share(kParams[0], params_[0], "Weight of the last value in the level");
        own.share(kParams[1], params_[1], "Weight of the last step in the trend");
        own.share(kParams[2], params_[2], "Weight of the last value in the season");
        own.count(kPeriod, period_, "Length of the season", 1).placeholder("s");
        auto search = own.flag(kSearch, search_, "Takes the best of random parameters");
        auto optimise = own.flag(kOptimise, optimise_,
                                 "Looks for the best parameters by a quasi-Newton search");
        optimise.excludes(kSearch);
        for (const char* param : kParams) {
            search.excludes(param);
            optimise.excludes(param);
        }
        own.count("--trials", trials_, "Random parameters to try", std::int64_t{1})
            .placeholder("N")
            .shown(std::to_string(trials_))
            .needs(kSearch);
        own.choice("--measure", measure_, "What a search makes small", kMeasures);
        own.flag("--noise", noise_, "Adds a column of forecasts with simulated noise");
        own.seed(seed_);
    }

    void fitTo(const Vector& series) override {
        const auto size = static_cast<std::int64_t>(series.size());
        checkAtMost(kWindow, window_, "the number of values", size);
        checkAtMost(kPeriod, period_, "the number of values", size);
        std::array<double, 3> params{};
        for (std::size_t k = 0; k < params.size(); ++k) {
            if (!std::isnan(params_[k])) params[k] = params_[k];
        }
        const auto length = static_cast<std::uint64_t>(std::max(window_, period_));
        smoother_ = make(method_, series, params, length);
        smoother_->setErrorMeasure(measure_)
            .setSeed(static_cast<std::int32_t>(seed_))
            .setNumTrials(static_cast<std::uint64_t>(trials_));
        if (search_) {
            smoother_->runAuto();
        } else if (optimise_) {
            smoother_->runOptimised();
        } else {
            smoother_->run();
        }
    }

    bool isFitted() const override { return smoother_ && !smoother_->series().empty(); }

    void summarizeModel(Table& summary) const override {
        summary.entry("Method", nameOf(method_, kMethods));
        if (window_ > 0) summary.entry("Window", window_);
        if (period_ > 0) summary.entry("Period", period_);
        summary.entry("Parameters", search_     ? "best of random trials"
                                    : optimise_ ? "quasi-Newton search"
                                                : "given");
        if (search_) summary.entry("Trials", trials_);
        if (search_ || optimise_) {
            summary.entry("Measure made small", nameOf(measure_, kMeasures));
        }
        if (search_ || optimise_ || noise_) summary.entry("Seed", std::int64_t{seed_});
    }

    void describeModel(ReportBuilder& report, double /*confidence*/) const override {
        const DataFrame params = smoother_->getParameterTable();
        Vector values;
        std::vector<std::string> labels;
        for (int i = 0; i < params.getNumRows(); ++i) {
            labels.push_back(params(i, 0).toString().toUtf8());
            values.push_back(params(i, 1).toDouble());
        }
        report.table("Parameters")
            .text("Parameter", std::move(labels))
            .numbers("Value", std::move(values))
            .note(method_ == Method::Moving
                      ? "The window is the number of values averaged."
                      : "Level, trend and seasonal indexes are those after the last value; the "
                        "first season belongs to the first value and those a period apart.");
    }

    Followed follow(const Vector& series, std::int64_t horizon, bool noise) const override {
        const std::unique_ptr<Smoother> smoother = smoother_->clone();
        smoother->setSeries(series).run();
        Followed result{
            smoother->smoothed(), smoother->forecast(horizon), smoother->forecastsStdDev(), {}};
        if (noise && noise_) result.noisy = smoother->forecast(horizon, true, seed_);
        return result;
    }

    std::vector<Engine::TS::ARIMA::LjungBox> testResiduals(const Vector& residuals) const override {
        return testNoise(residuals);
    }
    std::string testNote() const override {
        return "Degrees of freedom: the lag; smoothing parameters are not counted.";
    }

  private:
    bool isSeasonal() const {
        return method_ == Method::Multiplicative || method_ == Method::Additive ||
               method_ == Method::NoTrend;
    }

    static std::array<bool, 3> paramsOf(Method method) {
        switch (method) {
            case Method::Moving:
                return {};
            case Method::Exponential:
                return {true, false, false};
            case Method::Double:
                return {true, true, false};
            case Method::NoTrend:
                return {true, false, true};
            default:
                return {true, true, true};
        }
    }

    [[noreturn]] void refuse(const char* option, const char* problem) const {
        throw UserError(
            fmt::format("{}: {} with {} {}", option, problem, kMethod, nameOf(method_, kMethods)));
    }

    void expectOnly(const char* option, bool given, bool expected) const {
        if (given && !expected) refuse(option, "not used");
        if (!given && expected) refuse(option, "not given, expected");
    }

    /// `length` is that of the window or of the season. Without a series: a smoother to be read.
    static std::unique_ptr<Smoother> make(Method method, const Vector& series,
                                          const std::array<double, 3>& params,
                                          std::uint64_t length) {
        const auto [alpha, beta, gamma] = params;
        const bool empty = series.empty();
        switch (method) {
            case Method::Moving:
                return made<MovingAverage>(empty, series, length);
            case Method::Exponential:
                return made<Exponential>(empty, series, alpha, std::uint64_t{1});
            case Method::Double:
                return made<DoubleExponential>(empty, series, alpha, beta, std::uint64_t{1});
            case Method::Multiplicative:
                return made<MulHoltWinters>(empty, series, alpha, beta, gamma, length);
            case Method::Additive:
                return made<AddHoltWinters>(empty, series, alpha, beta, gamma, length);
            case Method::NoTrend:
                return made<NoTrendHoltWinters>(empty, series, alpha, gamma, length);
        }
        return nullptr;
    }

    template <class Form, class... Arguments>
    static std::unique_ptr<Smoother> made(bool empty, const Arguments&... arguments) {
        return empty ? std::make_unique<Form>() : std::make_unique<Form>(arguments...);
    }

    Method method_ = Method::Exponential;
    std::int64_t window_ = 0;
    std::int64_t period_ = 0;
    std::array<double, 3> params_{kNotGiven, kNotGiven, kNotGiven};
    bool search_ = false;
    bool optimise_ = false;
    std::int64_t trials_ = 2000;
    ErrorMeasure measure_ = ErrorMeasure::meanSquaredError;
    bool noise_ = false;
    std::uint32_t seed_ = kDefaultSeed;
    std::unique_ptr<Smoother> smoother_;

    static constexpr double kNotGiven = std::numeric_limits<double>::quiet_NaN();
};

}  // namespace

std::unique_ptr<Family> makeSmoothing() { return std::make_unique<Smoothing>(); }

}  // namespace Veltrix::Tool

#include <algorithm>
#include <cmath>
#include <concepts>
#include <string_view>
#include <type_traits>

#include "Veltrix/Engine/TS/Smoothing.h"
#include "engine/core/Stored.h"

namespace Veltrix {

using namespace Engine::TS::Smoothing;
using Support::Length;

/// A measure by its code, which may be none.
template <>
struct Stored<ErrorMeasure> {
    static void write(Support::JsonWriter& json, const ErrorMeasure& measure) {
        json.value(static_cast<std::int32_t>(measure));
    }
    static ErrorMeasure read(const Support::JsonView& view) {
        return static_cast<ErrorMeasure>(view.asInt32());
    }
};

/// The fields of all smoothers, and those that only some have.
template <>
struct Stored<Smoother> {
    template <class Type>
    static void fields(auto& a, Type& smoother) {
        using Kind = std::remove_const_t<Type>;
        auto& state = smoother.state_;
        a("seed", smoother.seed_)("errorMeasure", smoother.errorMeasure_);
        a("numTrials", smoother.numTrials_);
        describeSeries(a, smoother);
        param(a, "alpha", state.params[0]);
        param(a, "beta", state.params[1]);
        param(a, "gamma", state.params[2]);
        a("smoothed", state.smoothed, Length{static_cast<std::int64_t>(smoother.numRecords())});
        a("forecasts", state.forecasts)("forecastsStdDev", state.forecastsStdDev);
        a("error", state.error);
        if constexpr (std::same_as<Kind, MovingAverage>) describeWindow(a, smoother);
        if constexpr (std::derived_from<Kind, Exponential>) {
            a("level", state.level)("initialLevel", state.initialLevel);
        }
        if constexpr (std::derived_from<Kind, DoubleExponential>) {
            a("trend", state.trend)("initialTrend", state.initialTrend);
        }
        if constexpr (std::derived_from<Kind, HoltWinters>) describeSeasons(a, smoother);
    }

  private:
    static void describeSeries(auto& a, auto& smoother) {
        auto& series = smoother.series_;
        WString name = series.getName();
        a("name", name)("series", series);
        a.check(
            "series",
            [&] { return std::ranges::all_of(series, [](double x) { return std::isfinite(x); }); },
            "expected finite numbers");
        if constexpr (std::remove_reference_t<decltype(a)>::kReads) series.setName(name);
    }
    static void param(auto& a, std::string_view key, auto& value) {
        a(key, value);
        a.check(
            key, [&] { return value >= 0.0 && value <= 1.0; }, "expected a number from 0 to 1");
    }
    /// A number of values that the series must have; 0 without a series.
    static void part(auto& a, std::string_view key, const auto& smoother, auto& length) {
        a(key, length);
        const std::uint64_t size = smoother.numRecords();
        a.check(
            key, [&] { return length <= size && (length > 0 || size == 0); },
            "expected at least 1 and at most the length of the series");
    }
    static void describeWindow(auto& a, auto& smoother) {
        part(a, "window", smoother, smoother.window_);
        if constexpr (std::remove_reference_t<decltype(a)>::kReads) {
            smoother.numSkipped_ = smoother.window_;
        }
    }
    static void describeSeasons(auto& a, auto& smoother) {
        part(a, "period", smoother, smoother.period_);
        const Length period{static_cast<std::int64_t>(smoother.period_)};
        a("seasonal", smoother.state_.seasonal, period);
        a("initialSeasonal", smoother.state_.initialSeasonal, period);
    }
};

template <>
struct Stored<MovingAverage> : Stored<Smoother> {};
template <>
struct Stored<Exponential> : Stored<Smoother> {};
template <>
struct Stored<DoubleExponential> : Stored<Smoother> {};
template <>
struct Stored<MulHoltWinters> : Stored<Smoother> {};
template <>
struct Stored<AddHoltWinters> : Stored<Smoother> {};
template <>
struct Stored<NoTrendHoltWinters> : Stored<Smoother> {};

namespace Engine::TS::Smoothing {

namespace {

constexpr const char* kMovingAverage = "TS::Smoothing::MovingAverage";
constexpr const char* kExponential = "TS::Smoothing::Exponential";
constexpr const char* kDoubleExponential = "TS::Smoothing::DoubleExponential";
constexpr const char* kMulHoltWinters = "TS::Smoothing::MulHoltWinters";
constexpr const char* kAddHoltWinters = "TS::Smoothing::AddHoltWinters";
constexpr const char* kNoTrendHoltWinters = "TS::Smoothing::NoTrendHoltWinters";

}  // namespace

void MovingAverage::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kMovingAverage, *this);
}
void MovingAverage::readJson(std::string_view utf8) {
    *this = readStoredText<MovingAverage>(kMovingAverage, utf8);
}

void Exponential::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kExponential, *this);
}
void Exponential::readJson(std::string_view utf8) {
    *this = readStoredText<Exponential>(kExponential, utf8);
}

void DoubleExponential::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kDoubleExponential, *this);
}
void DoubleExponential::readJson(std::string_view utf8) {
    *this = readStoredText<DoubleExponential>(kDoubleExponential, utf8);
}

void MulHoltWinters::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kMulHoltWinters, *this);
}
void MulHoltWinters::readJson(std::string_view utf8) {
    *this = readStoredText<MulHoltWinters>(kMulHoltWinters, utf8);
}

void AddHoltWinters::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kAddHoltWinters, *this);
}
void AddHoltWinters::readJson(std::string_view utf8) {
    *this = readStoredText<AddHoltWinters>(kAddHoltWinters, utf8);
}

void NoTrendHoltWinters::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kNoTrendHoltWinters, *this);
}
void NoTrendHoltWinters::readJson(std::string_view utf8) {
    *this = readStoredText<NoTrendHoltWinters>(kNoTrendHoltWinters, utf8);
}

}  // namespace Engine::TS::Smoothing
}  // namespace Veltrix

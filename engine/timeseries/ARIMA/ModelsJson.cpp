#include <cstdint>
#include <type_traits>
#include <vector>

#include "Veltrix/Engine/TS/ARIMA/SARMA.h"
#include "engine/timeseries/ARIMA/DataStored.h"

namespace Veltrix {

using Engine::TS::ARIMA::AR;
using Engine::TS::ARIMA::ARMA;
using Engine::TS::ARIMA::InitialEstimates;
using Engine::TS::ARIMA::LjungBox;
using Engine::TS::ARIMA::MA;
using Engine::TS::ARIMA::ModelParts;
using Engine::TS::ARIMA::SARMA;
using Support::Length;

template <>
struct Stored<Engine::TS::ARIMA::Model> {
    static void fields(auto& a, auto& model) {
        constexpr std::uint64_t kMost = 1000000;
        a("arOrder", model.arOrder_)("maOrder", model.maOrder_);
        a.check(
            "arOrder", [&] { return model.arOrder_ <= kMost; }, "expected at most 1000000");
        a.check(
            "maOrder", [&] { return model.maOrder_ <= kMost; }, "expected at most 1000000");
        a("data", model.data_)("preprocessed", model.preprocessed_);
        a.check(
            "data", [&] { return model.data_.period() <= kMost; },
            "expected a period of at most 1000000");
        a("parameters", model.parameters_,
          Length{static_cast<std::int64_t>(model.arOrder_ + model.maOrder_)});
        a("whiteNoiseVariance", model.whiteNoiseVariance_);
    }
};

template <>
struct Stored<AR> : Stored<Engine::TS::ARIMA::Model> {};

template <>
struct Stored<MA> : Stored<Engine::TS::ARIMA::Model> {};

template <>
struct Stored<LjungBox> {
    static void fields(auto& a, auto& test) {
        a("lag", test.lag)("degreesOfFreedom", test.degreesOfFreedom);
        a("statistic", test.statistic)("pValue", test.pValue);
    }
};

template <>
struct Stored<ModelParts> {
    static void fields(auto& a, auto& parts) {
        a.property(
            "constant", [&] { return parts.constant(); },
            [&](const auto& value) { parts.constant(value); });
        a.property(
            "ar", [&] { return parts.ar(); }, [&](const auto& list) { parts.ar(list); });
        a.property(
            "ma", [&] { return parts.ma(); }, [&](const auto& list) { parts.ma(list); });
        a.property(
            "sar", [&] { return parts.sar(); }, [&](const auto& list) { parts.sar(list); });
        a.property(
            "sma", [&] { return parts.sma(); }, [&](const auto& list) { parts.sma(list); });
    }
    static bool haveSameShape(const ModelParts& a, const ModelParts& b) {
        return a.ar().size() == b.ar().size() && a.ma().size() == b.ma().size() &&
               a.sar().size() == b.sar().size() && a.sma().size() == b.sma().size();
    }
};

template <>
struct Stored<ARMA> {
    static void fields(auto& a, auto& model) {
        Stored<Engine::TS::ARIMA::Model>::fields(a, model);
        settings(a, model);
        a("fitted", model.fitted_)("lnL", model.lnL_);
        const auto count = [&] { return model.data_.numProcessedRecords(); };
        const auto none = [](const auto& list) { return list.empty(); };
        a("residuals", model.residuals_)("innovationVariances", model.variances_);
        a.check(
            "residuals",
            [&] { return none(model.residuals_) || model.residuals_.size() == count(); },
            "expected one for each processed value");
        a.check(
            "innovationVariances",
            [&] { return model.variances_.size() == model.residuals_.size(); },
            "expected as many as residuals");
        a("fittedValues", model.fittedValues_)("forecasts", model.forecasts_);
        a("forecastsStdDev", model.forecastsStdDev_);
        a("integratedForecastsStdDev", model.integratedForecastsStdDev_)("psi", model.psi_);
        a("covarMatrix", model.covarMatrix_);
        a.check(
            "covarMatrix",
            [&] { return model.covarMatrix_.getNumRows() == model.covarMatrix_.getNumCols(); },
            "expected a square matrix");
        results(a, model);
    }

  private:
    static void settings(auto& a, auto& model) {
        a.property(
            "maxIterations", [&] { return std::int32_t{model.getMaxIterations()}; },
            [&](const auto& count) { model.setMaxIterations(count); });
        a.property(
            "gradientTolerance", [&] { return model.getGradiendTolerance(); },
            [&](const auto& tolerance) { model.setGradientTolerance(tolerance); });
        auto estimates = static_cast<std::uint32_t>(model.initialEstimates_);
        a("initialEstimates", estimates);
        a.check(
            "initialEstimates", [&] { return estimates <= 1; }, "expected 0 or 1");
        if constexpr (std::remove_reference_t<decltype(a)>::kReads) {
            model.initialEstimates_ = InitialEstimates{estimates};
        }
        a("ljungBoxGroupCount", model.ljungBoxGroupCount_)("depth", model.depth_);
        a("constantIncluded", model.constantIncluded_)("fixed", model.fixed_);
    }
    static void results(auto& a, auto& model) {
        a("details", model.details_)("standardErrors", model.standardErrors_);
        a("pValues", model.pValues_);
        using Parts = Stored<ModelParts>;
        a.check(
            "standardErrors",
            [&] { return Parts::haveSameShape(model.standardErrors_, model.details_); },
            "expected one for each coefficient");
        a.check(
            "pValues", [&] { return Parts::haveSameShape(model.pValues_, model.details_); },
            "expected one for each coefficient");
        a("ljungBox", model.ljungBox_);
    }
};

template <>
struct Stored<SARMA> {
    static void fields(auto& a, auto& model) {
        Stored<ARMA>::fields(a, model);
        a("p", model.p_)("q", model.q_)("seasonalP", model.seasonalP_);
        a("seasonalQ", model.seasonalQ_)("multiplicativeMA", model.multiplicativeMA_);
        const auto add = [](std::uint64_t part, std::uint64_t seasonal, std::uint64_t whole) {
            return part <= whole && seasonal == whole - part;
        };
        a.check(
            "seasonalP", [&] { return add(model.p_, model.seasonalP_, model.ARMA::arOrder()); },
            "expected all AR orders together");
        a.check(
            "seasonalQ", [&] { return add(model.q_, model.seasonalQ_, model.ARMA::maOrder()); },
            "expected all MA orders together");
        a.check(
            "data",
            [&] {
                return model.seasonalP_ + model.seasonalQ_ == 0 || model.data_.period() > 1 ||
                       model.data_.originalData().empty();
            },
            "expected a period of at least 2");
    }
};

namespace Engine::TS::ARIMA {

void AR::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, "TS::ARIMA::AR", *this); }
void AR::readJson(std::string_view utf8) { *this = readStoredText<AR>("TS::ARIMA::AR", utf8); }

void MA::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, "TS::ARIMA::MA", *this); }
void MA::readJson(std::string_view utf8) { *this = readStoredText<MA>("TS::ARIMA::MA", utf8); }

void ARMA::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, "TS::ARIMA::ARMA", *this);
}
void ARMA::readJson(std::string_view utf8) {
    *this = readStoredText<ARMA>("TS::ARIMA::ARMA", utf8);
}

void SARMA::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, "TS::ARIMA::SARMA", *this);
}
void SARMA::readJson(std::string_view utf8) {
    *this = readStoredText<SARMA>("TS::ARIMA::SARMA", utf8);
}

}  // namespace Engine::TS::ARIMA
}  // namespace Veltrix

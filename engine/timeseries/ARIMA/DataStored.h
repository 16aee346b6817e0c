#pragma once

/// @file
/// Series data in JSON.

#include <span>

#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "engine/core/Stored.h"
#include "engine/timeseries/ARIMA/Operations.h"

namespace Veltrix {

/// A mean or a difference, told apart by their keys.
template <>
struct Stored<Engine::TS::ARIMA::LagOperation> {
    static void fields(auto& a, auto& operation) {
        choose(a, operation);
        if (operation.isMean) {
            a("mean", operation.value)("given", operation.valueGiven);
            return;
        }
        a("count", operation.count)("lag", operation.lag);
        a.check(
            "count", [&] { return operation.count > 0; }, "expected at least 1");
        a.check(
            "lag", [&] { return operation.lag > 0; }, "expected at least 1");
    }

  private:
    static void choose(const Support::StoredWriter& /*a*/,
                       const Engine::TS::ARIMA::LagOperation& /*operation*/) {}
    static void choose(const Support::StoredReader& a, Engine::TS::ARIMA::LagOperation& operation) {
        operation.isMean = a.view().find("mean").has_value();
    }
};

template <>
struct Stored<Engine::TS::ARIMA::Data> {
    static void fields(auto& a, auto& data) {
        auto& outcome = data.outcome_;
        a("numLags", data.numLags_)("numSeasonalLags", data.numSeasonalLags_);
        a("period", data.period_)("mean", outcome.mean)("variance", outcome.variance);
        a("original", data.original_)("working", outcome.working);
        a.check(
            "working", [&] { return outcome.working.size() == data.original_.size(); },
            "expected as many values as in the original series");
        a("operations", outcome.operations)("applied", outcome.numApplied);
        a.check(
            "applied", [&] { return outcome.numApplied <= outcome.operations.size(); },
            "expected at most the number of operations");
        a.check(
            "operations", [&] { return process(data); },
            "expected no more differences than values");
        a("acvf", data.acvf_)("pacf", data.pacf_);
    }

  private:
    /// The processed series is what the applied operations left at the end of the working copy.
    /// False when they leave none.
    static bool process(Engine::TS::ARIMA::Data& data) {
        Engine::TS::ARIMA::Data::Outcome& outcome = data.outcome_;
        const auto applied = std::span(outcome.operations).first(outcome.numApplied);
        const auto length = Engine::TS::ARIMA::lengthAfter(data.original_.size(), applied);
        if (!length) return false;
        const auto processed = std::span(outcome.working).last(*length);
        outcome.processed.assign(processed.begin(), processed.end());
        return true;
    }
    static bool process(const Engine::TS::ARIMA::Data& /*data*/) { return true; }
};

}  // namespace Veltrix

#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "engine/timeseries/Smoothing/ErrorSums.h"
#include "engine/timeseries/Smoothing/Lanes.h"
#include "engine/timeseries/Smoothing/Passes.h"

namespace Veltrix::Engine::TS::Smoothing {

/// What all trials of a search share.
struct TrialTask {
    std::span<const double> series;
    std::uint64_t numSkipped;
    std::span<const double> seasons;  ///< initial indexes; empty without season
    ErrorMeasure measure;
};

/// The error of every trial, `makeStep(α, β, γ)` being the step that it starts with. Nothing is
/// kept of the smoothed values.
template <class MakeStep>
void tryAll(const TrialTask& task, std::span<const std::array<double, 3>> trials,
            std::span<double> errors, MakeStep makeStep) {
    constexpr std::size_t kCount = Lanes::kCount;
    const std::uint64_t size = task.series.size();
    const std::uint64_t usable = countUsable(task.series.subspan(task.numSkipped));
    std::vector<Lanes> seasons(std::max<std::size_t>(task.seasons.size(), 1));
    for (std::size_t first = 0; first < trials.size(); first += kCount) {
        const auto batch = trials.subspan(first, std::min(kCount, trials.size() - first));
        std::array<std::array<double, kCount>, 3> params{};
        for (std::size_t k = 0; k < batch.size(); ++k) {
            for (std::size_t j = 0; j < params.size(); ++j) params[j][k] = batch[k][j];
        }
        std::ranges::copy(task.seasons, seasons.begin());
        withTerms(task.measure, [&]<Terms Which>() {
            ErrorSums<Which, Lanes> sums;
            smooth(task.series, task.numSkipped,
                   makeStep(Lanes(params[0]), Lanes(params[1]), Lanes(params[2])),
                   std::span(seasons), [&](std::uint64_t t, const Lanes& expected) {
                       sums.add(task.series[t], expected);
                   });
            for (std::size_t k = 0; k < batch.size(); ++k) {
                errors[first + k] = errorOf(task.measure, sums.sum[k], sums.magnitudes[k],
                                            size - task.numSkipped, usable);
            }
        });
    }
}

}  // namespace Veltrix::Engine::TS::Smoothing

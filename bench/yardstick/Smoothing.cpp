#include <memory>

#include "Veltrix/Engine/TS/Smoothing.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

namespace {

using namespace Engine::TS::Smoothing;

/// Runs a copy of the smoother by `work`.
template <class Form>
Setup smoothing(Smoother& (Smoother::*work)()) {
    return [work](const Store& store) -> Run {
        const Vector series = store.vector("smooth_y.f64");
        auto given = std::make_shared<Form>(series, 0.5, 0.5, 0.5, 12);
        return [given, work]() -> std::function<Check()> {
            auto smoother = std::make_shared<Form>(*given);
            ((*smoother).*work)();
            return [smoother] {
                return Check{{"mse", smoother->error()}, {"alpha", smoother->alpha()}};
            };
        };
    };
}

}  // namespace

void addSmoothing(std::map<std::string, Setup>& all) {
    all["14a_hw_fit_add"] = smoothing<AddHoltWinters>(&Smoother::runOptimised);
    all["14b_hw_fit_mul"] = smoothing<MulHoltWinters>(&Smoother::runOptimised);
    all["14c_hw_search"] = smoothing<AddHoltWinters>(&Smoother::runAuto);
}

}  // namespace Veltrix::Yardstick

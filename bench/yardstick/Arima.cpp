#include <memory>
#include <vector>

#include "Veltrix/Engine/TS/ARIMA/SARMA.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

using Engine::TS::ARIMA::ARMA;
using Engine::TS::ARIMA::SARMA;

/// Differencing, fit and standard errors, without a constant, as other programs have them.
template <class Model>
Setup fit(const char* file, const Model& model) {
    return [file, model](const Store& store) -> Run {
        const Vector values = store.vector(file);
        const std::vector<double> series(values.begin(), values.end());
        return [series, model]() -> std::function<Check()> {
            auto fitted = std::make_shared<Model>(model);
            fitted->loadData(series).preprocess().fit().computeModelDetails();
            return [fitted] {
                const Vector& parameters = fitted->parameters();
                Check check{{"loglik", -0.5 * fitted->lnL()},
                            {"sigma2", fitted->whiteNoiseVariance()},
                            {"iterations", fitted->getNumIterations()}};
                for (std::uint64_t k = 0; k < parameters.size(); ++k) {
                    check["param" + std::to_string(k + 1)] = parameters[k];
                }
                return check;
            };
        };
    };
}

}  // namespace

void addArima(std::map<std::string, Setup>& all) {
    ARMA plain(2, 2, 1);
    plain.setConstantIncluded(false);
    all["13a_arima"] = fit("arima_y.f64", plain);
    SARMA seasonal(1, 1, 1, 0, 1, 1, 12);
    seasonal.setMultiplicativeMA(true).setConstantIncluded(false);
    all["13b_sarima"] = fit("sarima_y.f64", seasonal);
}

}  // namespace Veltrix::Yardstick

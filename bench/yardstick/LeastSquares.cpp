#include <memory>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

using Engine::LinearModel::OLS::Diagnostics;
using Engine::LinearModel::OLS::Model;

struct Result {
    Model model;
    Engine::LinearModel::CoefficientInfo info;
    Diagnostics diagnostics;
};

Setup regression(bool withDiagnostics) {
    return [withDiagnostics](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("ols_x.f64"));
        auto y = std::make_shared<Vector>(store.vector("ols_y.f64"));
        return [x, y, withDiagnostics]() -> std::function<Check()> {
            auto result = std::make_shared<Result>();
            result->model.fit(*x, *y, true);
            result->info = result->model.computeCoefficientInfo(0.95);
            if (withDiagnostics) {
                const auto residuals =
                    result->model.computeResiduals(*y, result->model.predict(*x));
                result->diagnostics = result->model.computeDiagnostics(residuals.raw);
            }
            return [result, withDiagnostics] {
                Check check = {{"sse", result->model.getANOVA().SSE},
                               {"beta1", result->info.estimates[1]},
                               {"se1", result->info.standardErrors[1]}};
                if (withDiagnostics) {
                    check["max_cook"] = Util::maxValue(result->diagnostics.cooksDistances);
                }
                return check;
            };
        };
    };
}

}  // namespace

void addLeastSquares(std::map<std::string, Setup>& all) {
    all["01a_ols"] = regression(false);
    all["01b_ols_diag"] = regression(true);
}

}  // namespace Veltrix::Yardstick

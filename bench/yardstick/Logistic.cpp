#include <memory>

#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

using Engine::LinearModel::Logistic::CoefficientInfo;
using Engine::LinearModel::Logistic::Model;

struct Result {
    Model model;
    CoefficientInfo info;
};

}  // namespace

void addLogistic(std::map<std::string, Setup>& all) {
    all["02_logit"] = [](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("logit_x.f64"));
        auto y = std::make_shared<Vector>();
        for (const int code : store.integers("logit_y.i32")) y->push_back(code);
        return [x, y]() -> std::function<Check()> {
            auto result = std::make_shared<Result>();
            result->model.fit(*x, *y, 100, true);
            result->info = result->model.computeCoefficientInfo(*x, 0.95);
            return [result] {
                return Check{{"deviance", result->model.getResidualDeviance()},
                             {"beta1", result->info.estimates[1]},
                             {"se1", result->info.standardErrors[1]},
                             {"steps", result->model.getNumIterations() + 1}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

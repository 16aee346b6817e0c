#include <memory>

#include "Veltrix/Engine/HC.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

namespace {

Setup linkage(int number) {
    return [number](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("hc_x.f64"));
        return [x, number]() -> std::function<Check()> {
            auto model = std::make_shared<Engine::HC::Model>();
            model->setLinkage(number).fit(*x);
            return [model] {
                double sum = 0.0;
                for (const auto& merge : model->getMergingHistory()) sum += merge.distance;
                return Check{{"last_height", model->getMergingHistory().back().distance},
                             {"sum", sum}};
            };
        };
    };
}

}  // namespace

void addHierarchical(std::map<std::string, Setup>& all) {
    all["09_hc_single"] = linkage(1);
    all["09_hc_average"] = linkage(3);
    all["09_hc_centroid"] = linkage(6);
    all["09_hc_ward"] = linkage(7);
}

}  // namespace Veltrix::Yardstick

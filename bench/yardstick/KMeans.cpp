#include <memory>

#include "Veltrix/Engine/KMC.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

void addKMeans(std::map<std::string, Setup>& all) {
    all["08_kmeans"] = [](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("kmeans_x.f64"));
        auto start = std::make_shared<Matrix>(store.matrix("kmeans_start.f64"));
        return [x, start]() -> std::function<Check()> {
            auto model = std::make_shared<Engine::KMC::Model>();
            model->setInitialCentroids(*start).setMaxIterations(50).fit(*x);
            return [model] {
                // Updates of the centroids, as other programs count iterations.
                const int updates = model->getNumIterations() - (model->isConverged() ? 0 : 1);
                return Check{{"inertia", model->getClusterSummary().sswTotal},
                             {"iterations", updates}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

#include <memory>

#include "Veltrix/Data/Util.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

void addDistances(std::map<std::string, Setup>& all) {
    all["17_dist"] = [](const Store& store) -> Run {
        auto a = std::make_shared<Matrix>(store.matrix("dist_a.f64"));
        auto b = std::make_shared<Matrix>(store.matrix("dist_b.f64"));
        return [a, b]() -> std::function<Check()> {
            auto distances = std::make_shared<Matrix>(Util::pairwiseDistance(*a, *b, false));
            return [distances] { return Check{{"sum", Util::sum(*distances)}}; };
        };
    };
}

}  // namespace Veltrix::Yardstick

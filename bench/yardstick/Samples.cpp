#include <memory>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Sampling.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

void addSamples(std::map<std::string, Setup>& all) {
    all["16_sample"] = [](const Store&) -> Run {
        return []() -> std::function<Check()> {
            Engine::Sampling::ScalableSRS sampler(10000000, 100000);
            auto sample = std::make_shared<IntVector>(sampler.sample());
            return [sample] {
                const auto distinct = Util::uniqueElements(*sample).size();
                return Check{{"size", static_cast<double>(sample->size())},
                             {"distinct", static_cast<double>(distinct)}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

#include <memory>
#include <string>
#include <vector>

#include "Veltrix/Engine/AR.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

void addRules(std::map<std::string, Setup>& all) {
    all["12_rules"] = [](const Store& store) -> Run {
        constexpr std::size_t kItems = 200;
        constexpr std::uint64_t kShare = 200;  // of the transactions: one in so many
        std::vector<std::wstring> names;
        for (std::size_t j = 0; j < kItems; ++j) names.push_back(std::to_wstring(j));
        auto data = std::make_shared<Engine::AR::Data>(std::move(names));
        for (const std::vector<std::uint64_t>& items : store.lists("baskets.txt")) {
            data->append(items);
        }
        return [data]() -> std::function<Check()> {
            auto model = std::make_shared<Engine::AR::TTree>(data->getNumTransactions() / kShare);
            model->fit(*data).generate(data->getItemNames(), 0.5);
            return [model] {
                std::uint64_t longest = 0;
                for (const Engine::AR::Itemset& itemset : model->getItemsets()) {
                    longest = itemset.numItems();
                }
                return Check{{"itemsets", static_cast<double>(model->getNumItemsets())},
                             {"rules", static_cast<double>(model->getRules().size())},
                             {"longest", static_cast<double>(longest)}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

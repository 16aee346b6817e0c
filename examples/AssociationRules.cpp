// Finds what is bought together in a few baskets, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    using Engine::AR::Rule;
    // A row is a basket, a column an item.
    DataFrame baskets;
    const std::pair<const wchar_t*, IntVector> items[] = {{L"bread", {1, 1, 1, 0, 1, 1, 0, 1}},
                                                          {L"butter", {1, 1, 0, 0, 1, 1, 0, 0}},
                                                          {L"jam", {1, 0, 0, 0, 1, 1, 0, 0}},
                                                          {L"beer", {0, 0, 1, 1, 0, 0, 1, 0}}};
    for (auto [name, cells] : items) {
        cells.setName(name);
        baskets.append(cells);
    }
    const Engine::AR::Data data(baskets);

    Engine::AR::TTree model(3);  // itemsets that three baskets or more hold
    model.fit(data).generate(data.getItemNames(), 0.75);

    std::printf("%u itemsets in %u baskets\n", static_cast<unsigned>(model.getNumItemsets()),
                static_cast<unsigned>(model.getNumTransactions()));
    for (const Rule& rule : model.getRules()) {
        const char* separator = "";
        for (const std::wstring& item : rule.antecedent) {
            std::printf("%s%s", separator, WString(item).toUtf8().c_str());
            separator = ", ";
        }
        separator = " => ";
        for (const std::wstring& item : rule.consequent) {
            std::printf("%s%s", separator, WString(item).toUtf8().c_str());
            separator = ", ";
        }
        std::printf(": confidence %.2f, lift %.2f\n", rule.confidence,
                    rule.lift(model.getNumTransactions()));
    }
}

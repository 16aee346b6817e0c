// Grows a classification tree, prunes it on records kept aside and prints its rules, as an
// embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    // Who came back to the shop: age, how they heard of it, and whether they returned.
    DataFrame visits(L"Visits");
    Vector age{23, 31, 45, 52, 36, 28, 61, 40, 33, 57, 26, 49, 38, 64, 29, 44};
    age.setName(L"age");
    visits.append(age);
    visits.append(StringVector{L"web", L"friend", L"friend", L"poster", L"web", L"web", L"poster",
                               L"friend", L"web", L"friend", L"poster", L"web", L"friend",
                               L"poster", L"friend", L"poster"},
                  L"source");
    visits.append(StringVector{L"no", L"yes", L"yes", L"no", L"no", L"no", L"no", L"yes", L"no",
                               L"yes", L"no", L"yes", L"yes", L"no", L"yes", L"no"},
                  L"returned");
    const DataFrame grown = visits(Util::range(0, 12), Util::all);
    const DataFrame kept = visits(Util::range(12, 16), Util::all);
    const IntVector features{0, 1};

    Engine::DT::Params params;
    params.maxSplits = params.maxLevels = params.maxNodes = 100;
    params.minRecords = 1;
    Engine::DT::Classification::Model tree(params);
    tree.fit(grown(Util::all, features), grown(Util::all, L"returned"));
    tree.prune(kept(Util::all, features), kept(Util::all, L"returned"));
    tree.select(DecisionTree::TreeType::bestPruned);

    std::printf("%s", tree.toString().toUtf8().c_str());
    for (const Engine::DT::Rule& rule : tree.getRules()) {
        std::printf("if %s then %s (%d records, P = %.2f)\n", rule.condition.toUtf8().c_str(),
                    rule.outcome.toUtf8().c_str(), rule.numRecords, rule.probability);
    }
}

#include <memory>
#include <set>
#include <string>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/TM/TextMiner.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {

using namespace Engine::TM;

void addTexts(std::map<std::string, Setup>& all) {
    all["15a_text"] = [](const Store& store) -> Run {
        auto frame = std::make_shared<DataFrame>();
        frame->append(store.texts("corpus.txt", '\x1e'), L"document");
        return [frame]() -> std::function<Check()> {
            TextMiner miner(PreprocessingFlags{
                PreprocessingFlags::kRemoveExcluded | PreprocessingFlags::kLimitVocabulary, 255});
            miner.preprocess((*frame)(Selection::all, 0));
            auto matrix = std::make_shared<Matrix>(miner.buildTDM());
            return [matrix] {
                return Check{{"rows", matrix->getNumRows()},
                             {"terms", matrix->getNumCols()},
                             {"sum", Veltrix::Util::sum(*matrix, false)}};
            };
        };
    };
    all["15b_stem"] = [](const Store& store) -> Run {
        constexpr int kRepeats = 10;
        auto words = std::make_shared<StringVector>();
        const StringVector listed = store.texts("words.txt", '\n');
        for (int k = 0; k < kRepeats; ++k) {
            for (const WString& word : listed) words->push_back(word);
        }
        return [words]() -> std::function<Check()> {
            auto stems = std::make_shared<StringVector>();
            stems->reserve(words->size());
            for (const WString& word : *words) stems->push_back(stem(word.view()));
            return [stems] {
                const std::set<WString> distinct(stems->begin(), stems->end());
                return Check{{"words", static_cast<double>(stems->size())},
                             {"stems", static_cast<double>(distinct.size())}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

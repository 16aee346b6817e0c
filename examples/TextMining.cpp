// Finds the terms of a few texts and the concepts behind them, and scores a new text, as an
// embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    using Engine::TM::ConceptExtractor;
    using Engine::TM::TextMiner;
    DataFrame reviews;
    reviews.append(StringVector{L"The battery lasts long, and charging the battery is quick.",
                                L"Charging takes hours and the battery is empty by noon.",
                                L"A sharp screen with bright colours; the screen is a joy.",
                                L"Colours on this screen look pale, even at full brightness.",
                                L"Bright screen, but the battery!"},
                   L"review");

    TextMiner miner;
    miner.preprocess(reviews(Util::all, 0)).getTopTerms(3);
    for (const auto& [term, count] : miner.getTopTermList()) {
        std::printf("%s occurs %u times\n", WString(term).toUtf8().c_str(),
                    static_cast<unsigned>(count));
    }

    const Engine::TM::TF_IDF_Scheme weights{3, 1, 2};  // logarithms of counts, rows of length 1
    const Matrix tdm = miner.buildTDM(weights);
    const ConceptExtractor concepts = ConceptExtractor({0.0, 2}).fit(tdm);
    const Matrix places = concepts.cdm(tdm, true);
    for (int i = 0; i < places.getNumRows(); ++i) {
        std::printf("review %d: %5.2f %5.2f\n", i + 1, places(i, 0), places(i, 1));
    }

    DataFrame news;
    news.append(StringVector{L"The battery is quick at charging"}, L"review");
    TextMiner scorer = miner;
    scorer.preprocessNewCorpus(news(Util::all, 0), miner.getTerms());
    const Matrix place = concepts.cdm(scorer.buildTDM(weights), true);
    std::printf("new one:  %5.2f %5.2f\n", place(0, 0), place(0, 1));
}

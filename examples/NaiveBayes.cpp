// Counts categories, makes probabilities of the counts and scores new records, as an embedding host
// would; then measures what the probabilities are worth.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    using namespace Classification::NaiveBayes::Engine;
    // Whether a customer paid late, by how they were won and how many orders they placed.
    DataFrame customers(L"Customers");
    customers.append(
        StringVector{L"web", L"fair", L"web", L"friend", L"fair", L"web", L"friend", L"web"},
        L"source");
    IntVector orders{1, 2, 1, 3, 2, 1, 3, 2};
    orders.setName(L"orders");
    customers.append(orders);
    DataFrame late;
    late.append(StringVector{L"yes", L"no", L"yes", L"no", L"yes", L"no", L"no", L"yes"}, L"late");

    const Model counts =
        computeFrequency(customers, late(Util::all, 0), 1.0, {{L"no", 0.7}, {L"yes", 0.3}});
    const Model model = frequencyToPriorConditionalProbability(counts);
    std::printf("P(web | late) = %.4f\n",
                model.featureValueClassCount.at(L"source").at(L"web").at(L"yes"));

    const PosteriorProbabilityInfo scored = computePosteriorProbability(model, customers, true);
    const int yes = scored.classIndexes.at(L"yes");
    Vector outcomes;
    Vector probabilities;
    for (int i = 0; i < customers.getNumRows(); ++i) {
        outcomes.push_back(late(i, 0) == L"yes" ? 1.0 : 0.0);
        probabilities.push_back(scored.posteriors(i, yes));
        std::printf("%d: P(late) = %.3f, log likelihood %.3f\n", i + 1, scored.posteriors(i, yes),
                    scored.logLikelihoods[i]);
    }
    std::printf("area under the ROC curve %.3f, log loss %.3f\n",
                RankedOutcomes(outcomes, probabilities).area(),
                Metrics::logLoss(outcomes, probabilities));
}

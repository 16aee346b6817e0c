// Chooses k on validation records and classifies a new one, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    constexpr auto kInverse = KNearestNeighbors::WeightingScheme::inverseDistance;

    // Diameter (cm) and weight (decagrams) of fruit.
    const Matrix fruit(
        12, 2, Vector{7.1,  7.4,  6.8,  7.9,  8.2,  7.6,  6.2,  6.6,  5.9,  7.0,  6.4,  6.9,
                      16.1, 17.5, 14.8, 19.7, 20.9, 18.6, 13.9, 15.6, 12.1, 17.2, 14.6, 16.8});
    const StringVector kind{L"apple",  L"apple",  L"apple",  L"apple",  L"apple",  L"apple",
                            L"orange", L"orange", L"orange", L"orange", L"orange", L"orange"};
    const Matrix validation(4, 2, Vector{7.5, 7.0, 6.5, 6.1, 17.9, 16.9, 15.0, 13.2});
    const StringVector known{L"apple", L"apple", L"orange", L"orange"};

    Engine::Classification::KNN::Model model;
    model.fit(fruit, kind);
    const auto search = model.kSearch(validation, known, 6, true, false, kInverse);
    for (int i = 0; i < search.searchLog.getNumRows(); ++i) {
        std::printf("k = %s: %4.1f %% misclassified\n",
                    search.searchLog.getRowName(i).toUtf8().c_str(),
                    search.searchLog(i, 0).toDouble());
    }
    const DataFrame posterior = model.posteriorProbability(Matrix(1, 2, Vector{7.0, 16.4}),
                                                           search.bestK, true, false, kInverse);
    std::printf("best k = %d, P(apple) = %.3f\n", search.bestK, posterior(0, L"apple").toDouble());
}

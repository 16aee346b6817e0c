// Finds the principal components of a few columns and scores the records, as an embedding host
// would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    // Length, width and weight of leaves.
    Matrix leaves(6, 3,
                  Vector{2.1, 3.4, 2.9, 4.6, 5.2, 3.8,  //
                         1.0, 1.6, 1.3, 2.4, 2.5, 1.7,  //
                         0.3, 0.9, 0.7, 1.6, 2.1, 1.2});

    Engine::PCA::Model model({.method = 1});
    model.fit(leaves);
    const Vector explained = model.explainedVariance();
    const Vector cumulative = Engine::PCA::Model::explainedCumulativeVariance(explained);
    for (std::uint64_t j = 0; j < explained.size(); ++j) {
        std::printf("component %d: eigenvalue %.4f, %.2f %% of the variance, %.2f %% so far\n",
                    static_cast<int>(j) + 1, model.getEigenvalues()[j], explained[j],
                    cumulative[j]);
    }

    // Scores are wanted about the mean, which is for the caller to take away.
    const Vector means = Util::mean(leaves);
    for (int j = 0; j < 3; ++j) leaves(Util::all, j) -= means[static_cast<std::uint64_t>(j)];
    const Matrix scores = model.transform(leaves, 1);
    const Vector q = Engine::PCA::Model::qStat(leaves, scores);
    const Vector t = model.tStat(scores);
    for (std::uint64_t i = 0; i < q.size(); ++i) {
        std::printf("leaf %d: score %+.3f, Q %.4f, T² %.3f\n", static_cast<int>(i),
                    scores(static_cast<int>(i), 0), q[i], t[i]);
    }
}

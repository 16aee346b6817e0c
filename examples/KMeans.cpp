// Clusters a few records from random starts and scores a new one, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    // Length and width of leaves of three kinds.
    const Matrix leaves(9, 2,
                        Vector{2.1, 2.3, 1.9, 5.0, 5.2, 4.8, 7.9, 8.1, 8.3,  //
                               1.0, 1.2, 1.1, 3.9, 4.1, 4.0, 1.4, 1.6, 1.5});

    Engine::KMC::Model model;
    model.setNumClusters(3).setNumRandomStarts(10).setMaxIterations(100).fit(leaves);

    const auto& summary = model.getClusterSummary();
    for (int c = 0; c < 3; ++c) {
        const auto place = static_cast<std::uint64_t>(c);
        std::printf("cluster %d at (%.2f, %.2f): %d leaves, average distance %.3f\n", c,
                    model.getCentroids()(c, 0), model.getCentroids()(c, 1), summary.sizes[place],
                    summary.averageDistance[place]);
    }
    std::printf("%.1f %% of the sum of squares lies between the clusters\n",
                100.0 * summary.ssbRatio);

    const Matrix found(1, 2, Vector{5.1, 3.5});
    std::printf("a leaf of 5.1 x 3.5 belongs to cluster %d\n", model.predict(found)[0]);
}

// Builds the tree of a few records, cuts it and draws it as text, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    // Length and width of leaves of three kinds.
    const Matrix leaves(9, 2,
                        Vector{2.1, 2.3, 1.9, 5.0, 5.2, 4.8, 7.9, 8.1, 8.3,  //
                               1.0, 1.2, 1.1, 3.9, 4.1, 4.0, 1.4, 1.6, 1.5});

    Engine::HC::Model model;
    model.setLinkage(3).fit(leaves);  // group average
    for (const auto& merge : model.getMergingHistory()) {
        std::printf("%d and %d merge at distance %.3f\n", merge.first, merge.second,
                    merge.distance);
    }

    const auto tree = model.dendrogram(3);
    for (const int leaf : tree.leaves) {
        std::printf("cluster %d:", leaf);
        for (const int record : tree.members[static_cast<std::size_t>(leaf - 1)]) {
            std::printf(" %d", record);
        }
        std::printf("\n");
    }
}

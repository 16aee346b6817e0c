// Tells kinds of leaves apart by their length and width, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    const Matrix leaves(12, 2,
                        Vector{2.1, 2.3, 1.9, 2.6, 3.0, 3.2, 2.8, 2.4, 3.9, 4.1, 4.3, 3.6,  //
                               1.0, 1.2, 1.1, 1.6, 1.9, 1.6, 2.0, 1.8, 1.4, 1.6, 1.5, 1.1});
    IntVector kinds;
    for (int i = 0; i < 12; ++i) kinds.push_back(i / 4);

    Engine::DA::Model model;
    model.setPriors({0.5, 0.25, 0.25}).fit(leaves, kinds);
    for (int kind = 0; kind < 3; ++kind) {
        const Matrix& means = model.getGroupMeans();
        const Matrix& coefficients = model.getCoefficients();
        std::printf("kind %d: mean %.2f x %.2f, score %.2f %+.2f length %+.2f width\n", kind,
                    means(0, kind), means(1, kind),
                    model.getConstants()[static_cast<std::uint64_t>(kind)], coefficients(0, kind),
                    coefficients(1, kind));
    }

    const Matrix found(1, 2, Vector{2.9, 1.5});
    const Matrix posterior = model.posteriorProbability(found);
    std::printf("a leaf of 2.9 x 1.5 is of kind 0, 1, 2 with probability %.3f, %.3f, %.3f\n",
                posterior(0, 0), posterior(0, 1), posterior(0, 2));
}

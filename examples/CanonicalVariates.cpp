// Finds the directions in which kinds of leaves differ most, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    const Matrix leaves(12, 2,
                        Vector{2.1, 2.3, 1.9, 2.6, 3.0, 3.2, 2.8, 2.4, 3.9, 4.1, 4.3, 3.6,  //
                               1.0, 1.2, 1.1, 1.6, 1.9, 1.6, 2.0, 1.8, 1.4, 1.6, 1.5, 1.1});
    IntVector kinds;
    for (int i = 0; i < 12; ++i) kinds.push_back(i / 4);

    Engine::CVA::Model model;
    model.fit(leaves, kinds);
    const Vector shares = Util::percentage(model.getEigenvalues());
    const Matrix scores = model.transform(leaves);
    for (int k = scores.getNumCols() - 1; k >= 0; --k) {
        const auto place = static_cast<std::uint64_t>(k);
        std::printf("variate: eigenvalue %.3f (%.1f %%), %+.3f length %+.3f width\n",
                    model.getEigenvalues()[place], shares[place], model.getCoefficients()(0, k),
                    model.getCoefficients()(1, k));
        std::printf("  first leaf of each kind at %.2f, %.2f, %.2f\n", scores(0, k), scores(4, k),
                    scores(8, k));
    }
}

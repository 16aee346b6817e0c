// Shows how far a long computation is and ends it early, as a host with a window would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    const Matrix records =
        Util::gaussianMatrix(60000, 12, MatrixOrderType::columnMajor, 0.0, 1.0, 1);
    Engine::KMC::Model model;
    model.setNumClusters(200).setNumRandomStarts(500).setMaxIterations(1000);

    const ProgressScope scope([](const Progress& progress) {
        std::printf("%.*s: %.1f %%\n", static_cast<int>(progress.phase.size()),
                    progress.phase.data(), 100.0 * progress.fraction);
        return progress.fraction < 0.002;  // false ends the operation
    });
    try {
        model.fit(records);
    } catch (const Cancelled&) {
        std::printf("stopped; the model is %s\n",
                    model.getCentroids().empty() ? "as it was" : "half fitted");
    }
}

// Finds the best predictors of every number of them and prints the models, as an embedding host
// would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    using namespace Engine::LinearModel;
    // Heat of hardening cement (Woods, Steinour and Starke 1932): four ingredients, percent.
    Matrix x(13, 4, Vector{7,  1,  11, 11, 7,  11, 3,  1,  2,  21, 1,  11, 10,    // x1
                           26, 29, 56, 31, 52, 55, 71, 31, 54, 47, 40, 66, 68,    // x2
                           6,  15, 8,  8,  6,  9,  17, 22, 18, 4,  23, 9,  8,     // x3
                           60, 52, 20, 47, 33, 22, 6,  44, 22, 26, 34, 12, 12});  // x4
    Vector heat{78.5, 74.3, 104.3, 87.6, 95.9, 109.2, 102.7, 72.5, 93.1, 115.9, 83.8, 113.3, 109.4};

    const FeatureSelection::History history =
        OLS::Model::featureSelection(FeatureSelection::Algorithm::bestSubsets, x, heat, {}, true,
                                     nullptr, nullptr, nullptr, nullptr, 4);
    const FeatureSelection::ModelStatistics& statistics = history.getModelStatistics();
    for (int model = 0; model < history.getNumModels(); ++model) {
        std::printf("Cp = %8.3f, adjusted R2 = %.4f:", statistics.cp[model],
                    statistics.adjustedR2[model]);
        for (const int column : history.getColumns(model)) {
            if (column > 0) std::printf(" x%d", column);  // column 0 is the intercept
        }
        std::printf("\n");
    }
}

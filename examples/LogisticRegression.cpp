// Fits a logistic regression and prints its coefficients and a probability, as an embedding host
// would.
#include <cstdio>
#include <iterator>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    // Hours of study before an exam, and whether it was passed.
    Matrix hours(10, 1, Vector{0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5, 5});
    Vector passed{0, 0, 0, 1, 0, 1, 0, 1, 1, 1};

    Engine::LinearModel::Logistic::Model model;
    model.fit(hours, passed, 50, true);
    const auto info = model.computeCoefficientInfo(hours, 0.95);
    const auto fit = model.computeFitEvaluation(passed);
    const char* names[] = {"Intercept", "hours"};
    for (std::uint64_t j = 0; j < std::size(names); ++j) {
        std::printf("%-9s %9.4f +/- %.4f (p = %.4g), odds x %.4g\n", names[j], info.estimates[j],
                    info.standardErrors[j], info.pValues[j], info.odds[j]);
    }
    const Matrix probability = model.posteriorProbability(Matrix(1, 1, 3.2));
    std::printf("pseudo R2 = %.4f, P(passed) after 3.2 hours: %.4f\n", fit.pseudoR2,
                probability(0, 0));
}

// Fits a linear regression and prints its coefficients, as an embedding host would.
#include <cstdio>
#include <iterator>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    // Speed and stopping distance of cars.
    Matrix speed(6, 1, Vector{4, 8, 12, 16, 20, 24});
    Vector distance{2, 16, 20, 36, 48, 70};

    Engine::LinearModel::OLS::Model model;
    model.fit(speed, distance, true);
    const auto info = model.computeCoefficientInfo(0.95);
    const auto fit = model.computeFitEvaluation(distance);
    const char* names[] = {"Intercept", "speed"};
    for (std::uint64_t j = 0; j < std::size(names); ++j) {
        std::printf("%-9s %9.4f +/- %.4f (p = %.4g)\n", names[j], info.estimates[j],
                    info.standardErrors[j], info.pValues[j]);
    }
    std::printf("R2 = %.4f, predicted at 30: %.2f\n", fit.R2, model.predict(Matrix(1, 1, 30.0))[0]);
}

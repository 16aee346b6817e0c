// Smooths a quarterly series with a yearly season, looks for the parameters of the least error, and
// prints a year of forecasts with their limits, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix::Engine::TS::Smoothing;
    // Sales with a yearly season and a trend, four years.
    const Veltrix::Vector sales{12, 18, 25, 15, 14, 21, 29, 18, 17, 24, 33, 20, 18, 28, 37, 24};

    MulHoltWinters smoother(sales, 0.3, 0.1, 0.2, 4);
    std::printf("given parameters: mean squared error %.3f\n", smoother.run().error());
    std::printf("random search:    mean squared error %.3f\n", smoother.runAuto().error());
    std::printf("optimised:        mean squared error %.3f\n", smoother.runOptimised().error());
    std::printf("alpha %.3f, beta %.3f, gamma %.3f\n", smoother.alpha(), smoother.beta(),
                smoother.gamma());

    smoother.forecast(4);
    const Veltrix::DataFrame table = smoother.getForecastTable(0.9);
    for (int i = 0; i < table.getNumRows(); ++i) {
        std::printf("quarter %d: %.2f (%.2f to %.2f)\n", 17 + i, table(i, 0).toDouble(),
                    table(i, 2).toDouble(), table(i, 3).toDouble());
    }
}

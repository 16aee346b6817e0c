// Fits a seasonal ARIMA model to a quarterly series and prints its coefficients, a test of its
// residuals and forecasts with limits, as an embedding host would.
#include <cstdio>
#include <vector>

#include "Veltrix/Veltrix.h"

int main() {
    using Veltrix::Engine::TS::ARIMA::LjungBox;
    using Veltrix::Engine::TS::ARIMA::SARMA;
    // Sales with a yearly season and a trend, eight years.
    const std::vector<double> sales{12, 18, 25, 15, 14, 21, 29, 18, 17, 24, 33, 20, 18, 28, 37, 24,
                                    21, 30, 42, 26, 26, 33, 45, 30, 27, 38, 49, 33, 31, 39, 55, 35};

    SARMA model(0, 1, 1, 0, 1, 1, 4);  // p, q, d, P, Q, D, season length
    model.setMultiplicativeMA(true);
    model.loadData(sales).preprocess().fit();
    model.computeModelDetails().performLjungBoxTest();

    const auto& errors = model.standardErrors();
    std::printf("MA 1 %.3f (%.3f), seasonal MA 1 %.3f (%.3f)\n", model.details().ma()[0],
                errors.ma()[0], model.details().sma()[0], errors.sma()[0]);
    std::printf("variance %.3f, AICc %.2f\n", model.whiteNoiseVariance(), model.aicc());
    for (const LjungBox& test : model.ljungBox()) {
        std::printf("Ljung-Box to lag %d: %.2f, p %.3f\n", static_cast<int>(test.lag),
                    test.statistic, test.pValue);
    }

    const Veltrix::DataFrame forecasts = model.getForecastFrame(4, 0.95);
    for (int i = 0; i < forecasts.getNumRows(); ++i) {
        std::printf("quarter %d: %.1f, between %.1f and %.1f\n", i + 1, forecasts(i, 0).toDouble(),
                    forecasts(i, 2).toDouble(), forecasts(i, 3).toDouble());
    }
}

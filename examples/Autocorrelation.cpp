// Differences a quarterly series, prints its autocorrelations, and brings a forecast of the
// differenced series back to the original scale, as an embedding host would.
#include <cstdio>
#include <vector>

#include "Veltrix/Veltrix.h"

int main() {
    using Veltrix::Engine::TS::ARIMA::Data;
    // Sales with a yearly season and a trend, four years.
    const std::vector<double> sales{12, 18, 25, 15, 14, 21, 29, 18, 17, 24, 33, 20, 18, 28, 37, 24};

    Data data(1, 1, 4);  // one ordinary and one seasonal difference at lag 4
    data.load(sales).preprocess().computePACF(0, 5);
    for (std::size_t lag = 0; lag < data.acvf().size(); ++lag) {
        std::printf("lag %zu: acf %7.4f, pacf %7.4f\n", lag, data.acvf()[lag] / data.acvf()[0],
                    data.pacf()[lag]);
    }

    // The differenced series stays at its mean, 0 on the processed scale, for one more year.
    std::vector<double> processed = data.processedData();
    processed.insert(processed.end(), 4, 0.0);
    const std::vector<double> restored = data.postprocess(processed);
    for (std::size_t t = sales.size(); t < restored.size(); ++t) {
        std::printf("quarter %zu: %.2f\n", t + 1, restored[t]);
    }
}

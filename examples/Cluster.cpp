// Draws a sample of a file on a Spark cluster, if one answers, as an embedding host would.
#include <cstdio>
#include <cstdlib>

#include "Veltrix/Veltrix.h"

int main() {
    BigData::SparkMasterSettings settings;
    const char* const host = std::getenv("VELTRIX_CLUSTER_HOST");
    if (host != nullptr) settings.setHost(Veltrix::WString::fromUtf8(host));
    settings.setTimeout(60.0);

    const auto health = BigData::ClusterHealth::run(
        BigData::ClusterHealth::Parameters().setSparkSettings(settings));
    if (!health.isHealthy()) {
        std::printf("no cluster answers on %s\n", settings.getHost().toUtf8().c_str());
        return 0;
    }

    BigData::Sampling::Parameters parameters;
    parameters.setUseSampleSize(true).setSampleSize(10).setRandomSeed(1);
    parameters.setSparkSettings(settings)
        .setFileLocation(L"flights.csv")
        .setCsvHasHeader(true)
        .setCsvDelimiter(L",")
        .setSelectedVars({L"origin", L"delay"});
    try {
        const BigData::Sampling::Results results = BigData::Sampling::runSync(parameters);
        std::printf("%d of %lld rows\n", results.getData().getNumRows(),
                    static_cast<long long>(results.getNumRowsTotal()));
    } catch (const Veltrix::Exception& error) {
        std::printf("%s\n", error.what());
    }
}

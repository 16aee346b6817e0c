#include "Veltrix/BigData/ClusterHealth.h"

#include <chrono>

#include "bigdata/Guard.h"
#include "bigdata/Server.h"

namespace BigData::ClusterHealth {

Parameters& Parameters::setSparkSettings(const SparkMasterSettings& sparkSettings) {
    sparkSettings_ = sparkSettings;
    return *this;
}

Results& Results::setStatus(std::int32_t status) {
    status_ = status;
    return *this;
}

Results& Results::setDuration(const Duration& duration) {
    duration_ = duration;
    return *this;
}

Results& Results::setDetails(const WString& details) {
    details_ = details;
    return *this;
}

Results run(const Parameters& parameters) {
    return guarded([&] {
        using Clock = std::chrono::steady_clock;
        const Server server(parameters.getSparkSettings());
        const Clock::time_point start = Clock::now();
        Results results;
        try {
            results.setStatus(server.get("/healthz").status);
        } catch (const Http::TransportError& error) {
            results.setDetails(WString::fromUtf8(error.what()));
        }
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        return results.setDuration(Duration::fromSeconds(elapsed.count()));
    });
}

}  // namespace BigData::ClusterHealth

#include "Veltrix/BigData/QuorvanDatasets.h"

#include "bigdata/Guard.h"
#include "bigdata/JobReply.h"
#include "bigdata/Server.h"

namespace BigData::QuorvanDatasets {

Parameters& Parameters::setSparkSettings(const SparkMasterSettings& sparkSettings) {
    sparkSettings_ = sparkSettings;
    return *this;
}

Results& Results::setDatasets(const Veltrix::StringVector& datasets) {
    datasets_ = datasets;
    return *this;
}

Results run(const Parameters& parameters) {
    return guarded([&] {
        const Server server(parameters.getSparkSettings());
        const auto document = server.json(server.submit(kClassPath, "{}", true));
        const auto list = resultOf(document.root()).at("quorvanData");
        Veltrix::StringVector datasets;
        for (std::int64_t k = 0; k < list.size(); ++k) {
            const auto entry = list.at(k);
            datasets.push_back(entry.isString() ? wideText(entry)
                                                : WString::fromUtf8(entry.toJson()));
        }
        return Results().setDatasets(datasets);
    });
}

}  // namespace BigData::QuorvanDatasets

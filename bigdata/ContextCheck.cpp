#include "Veltrix/BigData/ContextCheck.h"

#include "bigdata/Guard.h"
#include "bigdata/Server.h"

namespace BigData::ContextCheck {

Parameters& Parameters::setSparkSettings(const SparkMasterSettings& sparkSettings) {
    sparkSettings_ = sparkSettings;
    return *this;
}

void run(const Parameters& parameters) {
    guarded([&] { Server(parameters.getSparkSettings()).ensureContext(); });
}

}  // namespace BigData::ContextCheck

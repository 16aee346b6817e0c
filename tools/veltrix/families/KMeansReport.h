#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Engine/KMC.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// What was clustered.
struct KMeansTask {
    std::string dataFile;
    const NumericSelection& selection;
    std::uint32_t seed;
    std::string textLeftOut;  ///< names of columns; empty when none is left out
    std::vector<std::string> notes;
};

/// The starts, the clusters and the records with their clusters, which count from 1.
Report kMeansReport(const KMeansTask& task, const Engine::KMC::Model& model,
                    const IntVector& assignment);

}  // namespace Veltrix::Tool

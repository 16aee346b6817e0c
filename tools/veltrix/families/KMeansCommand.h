#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/SamplingOptions.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Clusters of the rows of a CSV file.
class KMeansCommand : public Command {
  public:
    std::string name() const override { return "kmeans"; }
    std::string description() const override { return "Finds clusters of similar rows"; }
    void declare(CLI::App& app) override;
    void run() override;

  private:
    NumericSelection select(const DataFile& data) const;

    FileOption data_{"--data", {}};
    FileOption save_{"--save", {}};
    std::vector<std::string> columns_;
    int clusters_ = 0;
    int iterations_ = 100;
    int starts_ = 10;
    std::uint32_t seed_ = kDefaultSeed;
    ReportOutput output_;
};

}  // namespace Veltrix::Tool

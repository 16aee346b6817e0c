#pragma once

#include <cstdint>
#include <string>

#include "Veltrix/Data/DataFrame.h"
#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Writes a CSV file again with a column that assigns each row to a part at random.
class PartitionCommand : public Command {
  public:
    std::string name() const override { return "partition"; }
    std::string description() const override {
        return "Divides rows at random into training, validation and test parts";
    }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    /// For every row the code of its part.
    IntVector assignParts(const DataFile& data) const;
    IntVector assignAtRandom(int numRows) const;
    IntVector assignOversampled(const DataFile& data) const;

    FileOption data_{"--data", {}};
    FileOption output_{"--output", {}};
    double train_ = 0.0;
    double validation_ = 0.0;
    std::uint32_t seed_ = kDefaultSeed;
    std::string target_;
    std::string successClass_;
    double successShare_ = 0.5;
    std::string column_ = "Partition";
};

}  // namespace Veltrix::Tool

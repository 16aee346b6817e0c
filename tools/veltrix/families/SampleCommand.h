#pragma once

#include <cstdint>
#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Writes a random sample of the rows of a CSV file.
class SampleCommand : public Command {
  public:
    std::string name() const override { return "sample"; }
    std::string description() const override {
        return "Draws a simple or stratified random sample of rows";
    }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    FileOption data_{"--data", {}};
    FileOption output_{"--output", {}};
    int size_ = 0;
    std::string strata_;
    std::uint32_t seed_ = kDefaultSeed;
};

}  // namespace Veltrix::Tool

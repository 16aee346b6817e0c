#pragma once

#include <string>
#include <vector>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Describes the columns of a data file.
class DescribeCommand : public Command {
  public:
    std::string name() const override { return "describe"; }
    std::string description() const override {
        return "Describes the columns of a file: counts, moments, quartiles, categories";
    }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    FileOption data_{"--data", {}};
    std::vector<std::string> columns_;
    int top_ = 5;
    bool correlations_ = false;
    ReportOutput output_;
};

}  // namespace Veltrix::Tool

#pragma once

#include <string>
#include <vector>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Fits a linear regression to columns of a CSV file.
class RegressCommand : public Command {
  public:
    std::string name() const override { return "regress"; }
    std::string description() const override { return "Fits a linear regression by least squares"; }
    void declare(CLI::App& app) override;
    void run() override;

  private:
    FileOption data_{"--data", {}};
    FileOption save_{"--save", {}};
    std::string target_;
    std::vector<std::string> predictors_;
    std::string weights_;
    bool noIntercept_ = false;
    double confidence_ = 0.95;
    ReportOutput output_;
};

}  // namespace Veltrix::Tool

#pragma once

#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Scores the rows of a CSV file with a stored model.
class PredictCommand : public Command {
  public:
    std::string name() const override { return "predict"; }
    std::string description() const override { return "Scores new data with a stored model"; }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    FileOption model_{"--model", {}};
    FileOption data_{"--data", {}};
    double confidence_ = 0.95;
    ReportOutput output_;
};

}  // namespace Veltrix::Tool

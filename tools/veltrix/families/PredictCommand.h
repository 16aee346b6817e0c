#pragma once

#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/Documents.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Scores the rows of a CSV file, or documents, with a stored model.
class PredictCommand : public Command {
  public:
    std::string name() const override { return "predict"; }
    std::string description() const override { return "Scores new data with a stored model"; }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    Report scoreRecords(const StoredModel& stored, ProgressLine& progress) const;
    Report scoreDocuments(const StoredModel& stored, ProgressLine& progress) const;

    FileOption model_{"--model", {}};
    DocumentSource source_;
    double confidence_ = 0.95;
    ReportOutput output_;
};

}  // namespace Veltrix::Tool

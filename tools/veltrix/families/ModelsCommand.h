#pragma once

#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Lists the families of models: what each does and needs, and how it is called.
class ModelsCommand : public Command {
  public:
    std::string name() const override { return "models"; }
    std::string description() const override {
        return "Lists the models: what each does and needs, with an example";
    }
    bool readsTables() const override { return false; }
    void declare(OptionGroup& options) override { output_.declare(options); }
    void run() override;

  private:
    ReportOutput output_;
};

}  // namespace Veltrix::Tool

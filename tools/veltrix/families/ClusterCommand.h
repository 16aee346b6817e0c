#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/veltrix/host/Command.h"

namespace Veltrix::Tool {

/// Jobs on a Spark cluster: a command whose work is done by commands of its own.
class ClusterCommand : public Command {
  public:
    ClusterCommand();

    std::string name() const override { return "cluster"; }
    std::string description() const override { return "Runs jobs on a Spark cluster"; }
    std::vector<Command*> parts() const override;
    void declare(OptionGroup& /*options*/) override {}
    void run() override {}

  private:
    std::vector<std::unique_ptr<Command>> parts_;
};

}  // namespace Veltrix::Tool

#pragma once

#include <memory>
#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/Family.h"
#include "tools/veltrix/host/Progress.h"

namespace Veltrix::Tool {

/// The command of a family: everything that does not depend on which one it is.
class FamilyCommand : public Command {
  public:
    explicit FamilyCommand(std::unique_ptr<Family> family);

    std::string name() const override { return family_->names().command; }
    std::string description() const override { return family_->names().description; }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    /// What a run has to deliver.
    struct Results {
        Report report;
        std::string model;  ///< empty unless it is to be saved
    };

    /// Whether the options name the family's own input, not a table of records.
    bool takesOwnInput() const;
    Results runRecords(ProgressLine& progress);
    Results runOwnInput(ProgressLine& progress);
    void summarize(Table& summary, const Prepared& data) const;
    Report makeReport(const Prepared& data) const;

    std::unique_ptr<Family> family_;
    RecordFamily* records_;  ///< the family, when it takes records
    OwnInput* own_;          ///< the family, when it has an input of its own
    TaskOptions options_;
};

}  // namespace Veltrix::Tool

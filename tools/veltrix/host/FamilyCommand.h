#pragma once

#include <memory>
#include <string>

#include "tools/veltrix/host/Command.h"
#include "tools/veltrix/host/Family.h"

namespace Veltrix::Tool {

/// The command of a family: everything that does not depend on which one it is.
class FamilyCommand : public Command {
  public:
    explicit FamilyCommand(std::unique_ptr<Family> family)
        : family_(std::move(family)), options_(family_->needs()) {}

    std::string name() const override { return family_->names().command; }
    std::string description() const override { return family_->names().description; }
    void declare(OptionGroup& options) override;
    void run() override;

  private:
    void fit(const Prepared& data);
    void summarize(Table& summary, const Prepared& data) const;
    Report makeReport(const Prepared& data) const;

    std::unique_ptr<Family> family_;
    TaskOptions options_;
};

}  // namespace Veltrix::Tool

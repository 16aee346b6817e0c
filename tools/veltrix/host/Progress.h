#pragma once

#include <optional>
#include <string_view>

#include "Veltrix/Data/Progress.h"

namespace Veltrix::Tool {

/// Tells on stderr what the program is at and how far, when stderr is a terminal; the line is wiped
/// at the end. As long as it lives, long operations of the thread report to it.
class ProgressLine {
  public:
    ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();

    /// Takes the place of the previous stage.
    void stage(std::string_view what);

  private:
    std::optional<ProgressScope> scope_;  ///< only on a terminal
};

}  // namespace Veltrix::Tool

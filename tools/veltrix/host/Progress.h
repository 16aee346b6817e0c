#pragma once

#include <string_view>

namespace Veltrix::Tool {

/// Tells on stderr what the program is at, when stderr is a terminal; the line is wiped at the end.
class Progress {
  public:
    Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    /// Takes the place of the previous stage.
    void stage(std::string_view what);

  private:
    bool visible_ = false;
};

}  // namespace Veltrix::Tool

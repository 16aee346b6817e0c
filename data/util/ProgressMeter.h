#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

#include "Veltrix/Data/Progress.h"

namespace Veltrix {

/// A phase of many small pieces of work, which are gathered until a look at the clock costs nothing
/// beside them.
class ProgressMeter {
  public:
    ProgressMeter(std::string_view name, std::uint64_t total) : phase_(name, total) {}

    /// `units` of the phase are done at the cost of `work`, in nanoseconds or so.
    void add(std::uint64_t work, std::uint64_t units) {
        constexpr std::uint64_t kBlock = 20000;
        work_ += work;
        units_ += units;
        if (work_ < kBlock) return;
        work_ = 0;
        phase_.advance(std::exchange(units_, 0));
    }

  private:
    ProgressPhase phase_;
    std::uint64_t work_ = 0;
    std::uint64_t units_ = 0;
};

}  // namespace Veltrix

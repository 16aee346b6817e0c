#pragma once

#include <utility>

#include "Veltrix/Engine/TS/Smoothing/Smoother.h"

namespace Veltrix::Engine::TS::Smoothing {

/// Puts parameters and results back at its end, unless the changes are to stay.
class Smoother::Rollback {
  public:
    explicit Rollback(Smoother& smoother) : smoother_(smoother), before_(smoother.state_) {}
    Rollback(const Rollback&) = delete;
    Rollback& operator=(const Rollback&) = delete;
    ~Rollback() {
        if (!kept_) smoother_.state_ = std::move(before_);
    }

    void keepChanges() noexcept { kept_ = true; }

  private:
    Smoother& smoother_;
    State before_;
    bool kept_ = false;
};

}  // namespace Veltrix::Engine::TS::Smoothing

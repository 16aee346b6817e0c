#include "Veltrix/Data/Progress.h"

#include <algorithm>
#include <utility>

#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kInterval{20};

thread_local ProgressScope* innermost = nullptr;

}  // namespace

Cancelled::Cancelled() : Exception("Cancelled", static_cast<int>(ErrorCode::cancelled)) {}
Cancelled::~Cancelled() = default;

ProgressScope::ProgressScope(Callback callback)
    : callback_(std::move(callback)), outer_(innermost), last_(Clock::now()) {
    innermost = this;
}

ProgressScope::~ProgressScope() { innermost = outer_; }

void ProgressScope::report() {
    // From the inside out: an inner phase is a part of one unit of the phase around it.
    double part = 0.0;
    const ProgressPhase* phase = phase_;
    for (;; phase = phase->outer_) {
        const auto total = static_cast<double>(phase->total_);
        part =
            total > 0.0 ? std::min((static_cast<double>(phase->done_) + part) / total, 1.0) : 0.0;
        if (phase->outer_ == nullptr) break;
    }
    if (callback_ &&
        !callback_({phase->name_, phase->done_, phase->total_, part, phase->detail_})) {
        throw Cancelled();
    }
    last_ = Clock::now();
}

ProgressPhase::ProgressPhase(std::string_view name, std::uint64_t total)
    : name_(name), total_(total), scope_(innermost) {
    if (scope_ == nullptr) return;
    outer_ = scope_->phase_;
    scope_->phase_ = this;
}

ProgressPhase::~ProgressPhase() {
    if (scope_ != nullptr) scope_->phase_ = outer_;
}

void ProgressPhase::tell(std::uint64_t units) {
    done_ += units;
    if (Clock::now() - scope_->last_ >= kInterval) scope_->report();
}

}  // namespace Veltrix

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Export.h"

/// @file
/// Progress of long operations, and a way to end them.

namespace Veltrix {

/// How far an operation has come.
struct Progress {
    std::string_view phase;   ///< what is being done, e.g. "Growing the tree"
    std::uint64_t done = 0;   ///< units of the phase that are finished
    std::uint64_t total = 0;  ///< units of the phase; 0 when nobody can tell
    double fraction = 0.0;    ///< done/total with the parts of a unit, in [0, 1]; 0 without total
    std::string_view detail = {};  ///< what the phase has found so far, e.g. "epoch 7, cost 0.31"
};

/// Thrown by an operation that a progress callback asked to end. The objects that it worked on are
/// as they were before.
class VELTRIX_DATA_API Cancelled : public Exception {
  public:
    Cancelled();
    Cancelled(const Cancelled&) = default;
    Cancelled(Cancelled&&) noexcept = default;
    Cancelled& operator=(const Cancelled&) = default;
    Cancelled& operator=(Cancelled&&) noexcept = default;
    ~Cancelled() override;
};

class ProgressPhase;

/// As long as it lives, long operations of its thread call the callback from time to time: not
/// more often than every 20 ms, and within 100 ms of the last call while there is work. When the
/// callback returns false, the operation ends with `Cancelled`; what it throws passes through the
/// operation likewise. Scopes nest, the innermost one counts, and end in the reverse order of their
/// beginning. Operations that are done within 20 ms report nothing.
///
///     ProgressScope scope([](const Progress& p) { show(p.fraction); return !stopped(); });
///     model.fit(x, y, true);
class VELTRIX_DATA_API ProgressScope {
  public:
    using Callback = std::function<bool(const Progress&)>;

    explicit ProgressScope(Callback callback);
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;
    ~ProgressScope();

  private:
    friend class ProgressPhase;
    void report();

    Callback callback_;
    ProgressScope* outer_;
    ProgressPhase* phase_ = nullptr;  ///< the innermost one under way
    std::chrono::steady_clock::time_point last_;
};

/// A stretch of work in equal units, for those who write long operations. Call `advance` after
/// every block of some 10 µs to 10 ms of work, in order that reports come in time at no cost worth
/// naming; without a scope on the thread it is one comparison. Phases nest: an inner one refines
/// the unit of the outer one that is under way, and reports speak of the outermost phase.
///
///     ProgressPhase phase("Reading", size);
///     for (...) { ...; phase.advance(block); }
class VELTRIX_DATA_API ProgressPhase {
  public:
    /// `name` must outlive the phase. A `total` of 0 stands for an unknown number of units.
    ProgressPhase(std::string_view name, std::uint64_t total);
    ProgressPhase(const ProgressPhase&) = delete;
    ProgressPhase& operator=(const ProgressPhase&) = delete;
    ~ProgressPhase();

    /// Whether somebody is told, so that a detail is worth its text.
    bool isWatched() const noexcept { return scope_ != nullptr; }
    /// What the reports of this phase say from now on; must outlive the phase or the next call.
    void setDetail(std::string_view detail) noexcept { detail_ = detail; }
    /// `units` more are done. Throws `Cancelled`, and what the callback throws.
    void advance(std::uint64_t units = 1) {
        if (scope_ != nullptr) [[unlikely]] {
            tell(units);
        }
    }

  private:
    friend class ProgressScope;
    void tell(std::uint64_t units);

    std::string_view name_;
    std::string_view detail_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
    ProgressScope* scope_;
    ProgressPhase* outer_ = nullptr;
};

}  // namespace Veltrix

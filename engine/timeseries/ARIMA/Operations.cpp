#include "engine/timeseries/ARIMA/Operations.h"

#include <string>

#include "engine/core/Checks.h"

namespace Veltrix::Engine::TS::ARIMA {

std::optional<std::size_t> lengthAfter(std::size_t length,
                                       std::span<const LagOperation> operations) {
    for (const LagOperation& operation : operations) {
        if (operation.isMean) continue;
        // Divided, not multiplied: count times lag may not fit 64 bits.
        if (length == 0 || operation.count > (length - 1) / operation.lag) return std::nullopt;
        length -= operation.count * operation.lag;
    }
    return length;
}

void checkPeriod(std::string_view operation, std::uint64_t period) {
    if (period >= 2) return;
    Checks::fail(ErrorCode::invalidArgument, operation,
                 "period " + std::to_string(period) + ", at least 2 expected");
}

}  // namespace Veltrix::Engine::TS::ARIMA

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "Veltrix/Engine/TS/ARIMA/Data.h"

namespace Veltrix::Engine::TS::ARIMA {

/// Length of a series of the given length once the operations are carried out; nothing when a
/// difference among them would leave less than one value.
std::optional<std::size_t> lengthAfter(std::size_t length,
                                       std::span<const LagOperation> operations);

/// Throws `Exception` (invalidArgument) for the period of a season below 2: "OPERATION: period 1,
/// at least 2 expected".
void checkPeriod(std::string_view operation, std::uint64_t period);

}  // namespace Veltrix::Engine::TS::ARIMA

#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "Veltrix/Engine/TS/ARIMA/Data.h"

namespace Veltrix::Engine::TS::ARIMA {

/// Length of a series of the given length once the operations are carried out; nothing when a
/// difference among them would leave less than one value.
std::optional<std::size_t> lengthAfter(std::size_t length,
                                       std::span<const LagOperation> operations);

}  // namespace Veltrix::Engine::TS::ARIMA

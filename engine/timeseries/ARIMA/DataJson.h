#pragma once

#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "support/Json.h"

namespace Veltrix::Engine::TS::ARIMA {

/// A series as one JSON value, by itself or as part of a stored model.
struct DataJson {
    static void write(Support::JsonWriter& json, const Data& data);
    /// Throws `JsonError` naming the key when something is missing or does not fit together.
    static Data read(const Support::JsonView& view);
};

}  // namespace Veltrix::Engine::TS::ARIMA

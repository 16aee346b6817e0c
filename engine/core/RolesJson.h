#pragma once

/// @file
/// The classes, success class and priors of a stored classifier.

#include "Veltrix/Engine/Roles.h"
#include "support/Json.h"

namespace Veltrix::Engine::RolesJson {

/// Members "classes", "successClass", "cutoff", "priorLabels" and "priors".
void write(Support::JsonWriter& writer, const Classification::Modelable& model);
/// Sets what `write` wrote; throws `Support::JsonError` that names the key.
void read(const Support::JsonView& root, Classification::Modelable& model);

}  // namespace Veltrix::Engine::RolesJson

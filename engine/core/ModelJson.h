#pragma once

/// @file
/// The frame that stored objects of the engine share: {"type": ..., "version": 1, ...}.

#include <string>
#include <string_view>
#include <utility>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "support/Json.h"

namespace Veltrix::Engine::ModelJson {

/// A writer with the opening members in place; the caller adds its own and calls `finish`.
Support::JsonWriter begin(std::string_view type);
WString finish(Support::JsonWriter& writer);
/// A member that holds a list of texts.
void member(Support::JsonWriter& writer, std::string_view key, const StringVector& texts);

WString text(const Support::JsonView& value);
/// A list of texts, none twice.
StringVector distinctTexts(const Support::JsonView& list);

/// Hands the root of a stored object to `take`, which returns what it found. A key that is missing
/// or holds something else throws `Exception` that names it.
template <class Take>
auto read(std::string_view type, const WString& json, Take&& take) {
    try {
        const Support::JsonDocument document = Support::JsonDocument::parse(json.toUtf8());
        Support::checkStored(document.root(), type);
        return std::forward<Take>(take)(document.root());
    } catch (const Support::JsonError& error) {
        throw Exception(std::string(type) + " from JSON: " + error.what());
    }
}

}  // namespace Veltrix::Engine::ModelJson

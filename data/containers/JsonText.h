#pragma once

/// @file
/// The frame that every stored container shares: {"type": ..., "version": 1, "name": ..., ...}.

#include <string_view>
#include <utility>

#include "Veltrix/Data/WString.h"
#include "support/Json.h"

namespace Veltrix::JsonText {

/// A writer with the opening members in place; the caller adds its own and calls `finish`.
Support::JsonWriter begin(std::string_view type, const WString& name);
WString finish(Support::JsonWriter& writer);

/// Throws `Exception` for text that is damaged, of another type or of another version.
[[noreturn]] void fail(std::string_view type, const Support::JsonError& error);
/// Throws `JsonError` for a value: "key ...: EXPECTED expected, FOUND found".
[[noreturn]] void failExpected(const Support::JsonView& view, std::string_view expected,
                               std::string_view found);
WString name(const Support::JsonView& root);

/// Hands the root of a stored object to `take`, which returns what it found. A key that is missing
/// or holds something else throws `Exception` that names it.
template <class Take>
auto read(std::string_view type, const WString& text, Take&& take) {
    try {
        const Support::JsonDocument document = Support::JsonDocument::parse(text.toUtf8());
        Support::checkStored(document.root(), type);
        return std::forward<Take>(take)(document.root());
    } catch (const Support::JsonError& error) {
        fail(type, error);
    }
}

}  // namespace Veltrix::JsonText

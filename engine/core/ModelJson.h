#pragma once

/// @file
/// The frame that stored objects of the engine share: {"type": ..., "version": 1, ...}.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "support/Json.h"

namespace Veltrix::Engine::ModelJson {

/// A writer with the opening members in place; the caller adds its own and calls `finish`.
Support::JsonWriter begin(std::string_view type);
WString finish(Support::JsonWriter& writer);
/// A member that holds a list of texts.
void member(Support::JsonWriter& writer, std::string_view key, const StringVector& texts);

/// A matrix with its name and order, as the value of a key that was written.
void write(Support::JsonWriter& writer, const Matrix& matrix);
inline std::span<const double> values(const Vector& v) { return {v.data(), v.size()}; }
inline std::span<const std::int32_t> values(const IntVector& v) { return {v.data(), v.size()}; }

/// Throws `JsonError` unless the list has that many entries.
void expectSize(const Support::JsonView& list, std::int64_t size);
Vector vector(const Support::JsonView& list);
/// A list of a given length.
Vector vector(const Support::JsonView& list, std::int64_t size);
IntVector intVector(const Support::JsonView& list);
/// A whole number of at least 0.
int count(const Support::JsonView& value);
/// What `write` wrote.
Matrix matrix(const Support::JsonView& view);
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
        throw Exception(std::string(type) + " from JSON: " + error.what(), 9);
    }
}

}  // namespace Veltrix::Engine::ModelJson

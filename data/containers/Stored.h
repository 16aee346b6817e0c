#pragma once

/// @file
/// The containers in JSON, and whole texts {"type": TYPE, "version": 1, fields ...}. For the
/// libraries and programs above as well: nothing here has a source of its own.

#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "data/containers/Checks.h"
#include "support/Stored.h"
#include "support/Utf8.h"

namespace Veltrix {

namespace JSON {

/// Gathers the pieces as a wide text.
class WideSink final : public TextSink {
  public:
    void write(std::string_view utf8) override { text_ += Support::fromUtf8(utf8); }
    WString take() { return {std::exchange(text_, std::wstring())}; }

  private:
    std::wstring text_;
};

}  // namespace JSON

template <>
struct Stored<WString> {
    static void write(Support::JsonWriter& json, const WString& text) {
        json.value(std::string_view(text.toUtf8()));
    }
    static WString read(const Support::JsonView& view) {
        return WString::fromUtf8(view.asString());
    }
};

template <>
struct Stored<Vector> {
    static void write(Support::JsonWriter& json, const Vector& values) {
        json.value(std::span<const double>(values.data(), values.size()));
    }
    static Vector read(const Support::JsonView& list) {
        Vector values(static_cast<std::uint64_t>(list.size()));
        list.copyDoubles({values.data(), values.size()});
        return values;
    }
};

template <>
struct Stored<IntVector> {
    static void write(Support::JsonWriter& json, const IntVector& values) {
        json.value(std::span<const std::int32_t>(values.data(), values.size()));
    }
    static IntVector read(const Support::JsonView& list) {
        const std::vector<std::int32_t> values = list.asInt32s();
        return {values.begin(), values.end()};
    }
};

template <>
struct Stored<StringVector> {
    static void write(Support::JsonWriter& json, const StringVector& texts) {
        json.beginArray();
        for (const WString& text : texts) Stored<WString>::write(json, text);
        json.endArray();
    }
    static StringVector read(const Support::JsonView& list) {
        StringVector texts;
        for (const std::string& text : list.asStrings()) texts.push_back(WString::fromUtf8(text));
        return texts;
    }
};

namespace Support {

/// Throws `JsonError` for a list in which a text occurs twice.
inline void expectDistinct(const JsonView& list) {
    std::unordered_set<std::string> seen;
    std::int64_t k = 0;
    for (std::string& text : list.asStrings()) {
        if (!seen.insert(text).second) list.at(k).fail("\"" + text + "\" occurs twice");
        ++k;
    }
}

}  // namespace Support

/// {"name", "order", "rows", "cols", "values"}, the values in the storage order.
template <>
struct Stored<Matrix> {
    static void fields(Support::StoredWriter& a, const Matrix& m) {
        const bool byRows = m.getMatrixOrder() == MatrixOrderType::rowMajor;
        const auto size =
            static_cast<std::size_t>(m.getNumRows()) * static_cast<std::size_t>(m.getNumCols());
        a("name", m.getName())("order", std::string(byRows ? kByRows : kByColumns));
        a("rows", m.getNumRows())("cols", m.getNumCols());
        a("values", std::span<const double>(m.data(), size));
    }
    static void fields(Support::StoredReader& a, Matrix& m) {
        const std::int32_t rows = readExtent(a.view().at("rows"));
        const std::int32_t cols = readExtent(a.view().at("cols"));
        const Support::JsonView values = a.view().at("values");
        // Compared before the matrix is made: a damaged count must not ask for its memory.
        const std::int64_t size = std::int64_t{rows} * cols;
        if (values.size() != size) {
            values.fail(std::to_string(size) + " numbers expected, " +
                        std::to_string(values.size()) + " found");
        }
        if (size == 0) expectPlausible(a.view(), rows, cols);
        m = Matrix(rows, cols, readOrder(a.view().at("order")));
        values.copyDoubles({m.data(), static_cast<std::size_t>(size)});
        m.setName(Stored<WString>::read(a.view().at("name")));
    }

  private:
    static constexpr const char* kByRows = "row-major";
    static constexpr const char* kByColumns = "column-major";

    static std::int32_t readExtent(const Support::JsonView& view) {
        const std::int32_t extent = view.asInt32();
        if (extent < 0) view.fail("at least 0 expected, " + std::to_string(extent) + " found");
        return extent;
    }
    /// Of a matrix without values nothing vouches for the other extent, and those who size a result
    /// by it would ask for its memory.
    static void expectPlausible(const Support::JsonView& view, std::int32_t rows,
                                std::int32_t cols) {
        constexpr std::int32_t kMost = 1 << 24;
        for (const auto& [key, extent] : {std::pair("rows", rows), std::pair("cols", cols)}) {
            if (extent <= kMost) continue;
            view.at(key).fail("at most " + std::to_string(kMost) + " expected without values, " +
                              std::to_string(extent) + " found");
        }
    }
    /// Older files of models hold the number of the enumerator.
    static MatrixOrderType readOrder(const Support::JsonView& view) {
        if (view.isString()) {
            const std::string text = view.asString();
            if (text == kByRows) return MatrixOrderType::rowMajor;
            if (text == kByColumns) return MatrixOrderType::columnMajor;
        } else if (const std::int32_t number = view.asInt32(); number == 0 || number == 1) {
            return static_cast<MatrixOrderType>(number);
        }
        view.fail("row-major or column-major expected, " + view.toJson() + " found");
    }
};

/// The whole text of an object, piece by piece.
template <class Object>
void writeStoredText(JSON::TextSink& sink, std::string_view type, const Object& object) {
    Support::JsonWriter json([&sink](std::string_view piece) { sink.write(piece); });
    Support::beginStored(json, type);
    Support::StoredWriter fields(json);
    Stored<Object>::fields(fields, object);
    json.endObject();
    json.finish();
}

template <class Object>
WString storedText(std::string_view type, const Object& object) {
    JSON::WideSink sink;
    writeStoredText(sink, type, object);
    return sink.take();
}

/// Takes back what `writeStoredText` wrote. Throws `Exception` that names the offending key.
template <class Object>
Object readStoredText(std::string_view type, std::string_view text) {
    try {
        const Support::JsonDocument document = Support::JsonDocument::parse(text);
        Support::checkStored(document.root(), type);
        return Support::readStored<Object>(document.root());
    } catch (const Support::JsonError& error) {
        Checks::fail(ErrorCode::invalidText, std::string(type) + " from JSON", error.what());
    }
}

}  // namespace Veltrix

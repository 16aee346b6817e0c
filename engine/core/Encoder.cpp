#include "Veltrix/Engine/Encoder.h"

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/Util.h"
#include "engine/core/Checks.h"
#include "engine/core/Stored.h"

namespace Veltrix {
namespace {

constexpr const char* kType = "Encoder";

using Engine::Encoder;

/// Every level with its place in the list.
Encoder::CategoryMap toMap(const StringVector& levels) {
    Encoder::CategoryMap categories;
    int position = 0;
    for (const WString& level : levels) categories.emplace(level, position++);
    return categories;
}

/// The categories in the order of their positions, which must be 0, 1, …, each once.
StringVector byPosition(const WString& colName, const Encoder::CategoryMap& categories) {
    StringVector result(categories.size());
    std::vector<char> taken(categories.size(), 0);
    for (const auto& [category, position] : categories) {
        const auto place = static_cast<std::uint64_t>(position);  // huge when negative
        if (place >= taken.size() || taken[place] != 0) {
            Checks::fail(ErrorCode::invalidArgument,
                         "Encoder mapping of column \"" + colName.toUtf8() + "\"",
                         "positions 0 to " + std::to_string(taken.size() - 1) +
                             ", each once, expected, " + std::to_string(position) +
                             " found for category \"" + category.toUtf8() + "\"");
        }
        taken[place] = 1;
        result[place] = category;
    }
    return result;
}

[[noreturn]] void failColumn(const WString& colName, const char* problem) {
    Checks::fail(ErrorCode::invalidArgument, "Encoder transform",
                 "column \"" + colName.toUtf8() + "\" " + problem);
}

/// One column as it is stored, its categories in the order of their positions.
struct StoredColumn {
    WString name;
    StringVector categories;
};

}  // namespace

template <>
struct Stored<StoredColumn> {
    static void fields(auto& a, auto& column) {
        a("name", column.name)("categories", column.categories);
        expectDistinct(a);
    }

  private:
    static void expectDistinct(const Support::StoredWriter& /*a*/) {}
    static void expectDistinct(const Support::StoredReader& a) {
        Support::expectDistinct(a.view().at("categories"));
    }
};

template <>
struct Stored<Encoder> {
    static void fields(Support::StoredWriter& a, const Encoder& encoder) {
        std::vector<StoredColumn> columns;
        for (const WString& name : encoder.getEncodedColNames()) {
            columns.push_back({name, byPosition(name, encoder.mapping_.at(name))});
        }
        a("columns", columns);
    }
    static void fields(Support::StoredReader& a, Encoder& encoder) {
        std::vector<StoredColumn> columns;
        a("columns", columns);
        std::int64_t k = 0;
        for (const StoredColumn& column : columns) {
            if (!encoder.mapping_.emplace(column.name, toMap(column.categories)).second) {
                a.view().at("columns").at(k).at("name").fail("\"" + column.name.toUtf8() +
                                                             "\" occurs twice");
            }
            ++k;
        }
    }
};

namespace Engine {

Encoder::~Encoder() = default;

static_assert(std::is_nothrow_move_constructible_v<Encoder>);

Encoder& Encoder::fit(const DataFrame& frame) {
    IntVector textColumns;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        if (frame(Veltrix::Util::all, j).getKind() == ColumnKind::text) textColumns.push_back(j);
    }
    return fit(frame, textColumns);
}

Encoder& Encoder::fit(const DataFrame& frame, const IntVector& columnIndexes) {
    Mapping learned;
    for (const int j : columnIndexes) {
        const ConstDataFrameColumn column = frame(Veltrix::Util::all, j);
        learned[column.getColName()] = toMap(column.getLevels());
    }
    mapping_ = std::move(learned);
    return *this;
}

Encoder& Encoder::fit(const DataFrame& frame, const StringVector& columnNames) {
    return fit(frame, frame.getColIndexes(columnNames));
}

Encoder::CategoryMap Encoder::getCatColMapping(const StringVector& values) {
    return toMap(Veltrix::Util::uniqueElements(values));
}

DataFrame Encoder::transform(const DataFrame& frame) const {
    for (const WString& name : getEncodedColNames()) {
        if (!frame.hasColumn(name)) failColumn(name, "expected, not found");
    }
    // No columns yet, but names and number of the rows.
    DataFrame result = frame(Veltrix::Util::all, IntVector());
    for (int j = 0; j < frame.getNumCols(); ++j) {
        const ConstDataFrameColumn column = frame(Veltrix::Util::all, j);
        if (isEncoded(column.getColName())) {
            result.append(transformCatCol(column));
        } else {
            result.append(column);
        }
    }
    return result;
}

DataFrame Encoder::transformCatCol(const ConstDataFrameColumn& column) const {
    const auto known = mapping_.find(column.getColName());
    if (known == mapping_.end()) failColumn(column.getColName(), "is not known to the encoder");
    const CategoryMap& categories = known->second;

    IntVector codes;
    std::vector<std::uint64_t> positions;  // of the column's own levels
    for (const WString& level : column.getLevels(codes)) {
        const auto category = categories.find(level);
        if (category == categories.end()) throw OneHotEncoderFailure();
        positions.push_back(static_cast<std::uint64_t>(category->second));
    }
    std::vector<IntVector> indicators(categories.size(), IntVector(codes.size()));
    for (std::uint64_t i = 0; i < codes.size(); ++i) {
        indicators[positions[static_cast<std::size_t>(codes[i])]][i] = 1;
    }
    for (const auto& [category, position] : categories) {
        indicators[static_cast<std::size_t>(position)].setName(
            Util::generateColName(column.getColName(), category));
    }
    DataFrame result(column.getColName());
    for (IntVector& indicator : indicators) result.append(std::move(indicator));
    return result;
}

StringVector Encoder::getEncodedColNames() const {
    StringVector names;
    for (const auto& column : mapping_) names.push_back(column.first);
    return Veltrix::Util::uniqueElements(names);
}

bool Encoder::isEncoded(const WString& colName) const { return mapping_.contains(colName); }

Encoder& Encoder::setMapping(const WString& colName, const CategoryMap& categories) {
    byPosition(colName, categories);
    CategoryMap copy = categories;
    mapping_[colName] = std::move(copy);
    return *this;
}

Encoder& Encoder::setMapping(const Mapping& mapping) {
    for (const auto& [colName, categories] : mapping) byPosition(colName, categories);
    mapping_ = Mapping(mapping);
    return *this;
}

void Encoder::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Encoder::readJson(std::string_view utf8) { *this = readStoredText<Encoder>(kType, utf8); }

}  // namespace Engine
}  // namespace Veltrix

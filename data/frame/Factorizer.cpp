#include "Veltrix/Data/Factorizer.h"

#include <string>

#include "data/containers/Checks.h"

namespace Veltrix::Engine {
namespace {

Factorizer::ColumnInfo learn(const ConstDataFrameColumn& column) {
    Factorizer::ColumnInfo info;
    info.levels = column.getLevels();
    for (std::uint64_t code = 0; code < info.levels.size(); ++code) {
        info.codes.emplace(info.levels[code], static_cast<int>(code));
    }
    return info;
}

/// Codes of a column's cells: one look-up per level, one pass over the cells.
IntVector codesOf(const ConstDataFrameColumn& column, const Factorizer::ColumnInfo& info) {
    IntVector cells;
    const StringVector levels = column.getLevels(cells);
    IntVector codeOfLevel;
    for (const WString& level : levels) {
        const auto found = info.codes.find(level);
        codeOfLevel.push_back(found == info.codes.end() ? -1 : found->second);
    }
    IntVector result;
    result.reserve(cells.size());
    for (const int cell : cells) {
        result.push_back(codeOfLevel[static_cast<std::uint64_t>(cell)]);
    }
    result.setName(column.getColName());
    return result;
}

}  // namespace

Factorizer& Factorizer::fit(const DataFrame& frame) {
    std::unordered_map<WString, ColumnInfo> columns;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        const ConstDataFrameColumn column = frame(Selection::all, j);
        // Of several columns with one name the first counts, as in the frame itself.
        if (column.getKind() != ColumnKind::text || columns.contains(column.getColName())) continue;
        columns.emplace(column.getColName(), learn(column));
    }
    columns_ = std::move(columns);
    return *this;
}

Factorizer& Factorizer::fit(const ConstDataFrameColumn& column) {
    columns_.insert_or_assign(column.getColName(), learn(column));
    return *this;
}

DataFrame Factorizer::transform(const DataFrame& frame) const {
    // A frame without columns, but with the rows and their names.
    DataFrame result = frame(Selection::all, IntVector());
    for (int j = 0; j < frame.getNumCols(); ++j) {
        const ConstDataFrameColumn column = frame(Selection::all, j);
        if (isFactorized(column.getColName())) {
            result.append(transform(column));
        } else {
            result.append(column);
        }
    }
    return result;
}

IntVector Factorizer::transform(const ConstDataFrameColumn& column) const {
    return codesOf(column, getColMapper(column.getColName()));
}

bool Factorizer::isFactorized(const WString& colName) const { return columns_.contains(colName); }

const Factorizer::ColumnInfo& Factorizer::getColMapper(const WString& colName) const {
    const auto found = columns_.find(colName);
    if (found == columns_.end()) {
        Checks::fail(ErrorCode::indexOutOfRange, "Factorizer",
                     "column \"" + colName.toUtf8() + "\" was not fitted");
    }
    return found->second;
}

Factorizer& Factorizer::setBaseIndex(const WString& colName, int index) {
    Checks::index("Factorizer", "level", index, getColMapper(colName).levels.size());
    columns_.at(colName).baseIndex = index;
    return *this;
}

}  // namespace Veltrix::Engine

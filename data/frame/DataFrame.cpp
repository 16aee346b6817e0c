#include "Veltrix/Data/DataFrame.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/frame/CellText.h"

namespace Veltrix {
namespace {

using Storage::Column;
using Storage::TextColumn;

std::uint64_t sizeOf(const Column& column) {
    if (const auto* text = std::get_if<TextColumn>(&column)) return text->codes.size();
    if (const auto* numbers = std::get_if<Vector>(&column)) return numbers->size();
    return std::get<IntVector>(column).size();
}

IntVector pick(const IntVector& values, const IntVector& rows) { return Util::bind(values, rows); }

/// The chosen rows of a column.
Column selectRows(const Column& column, const IntVector& rows) {
    if (const auto* text = std::get_if<TextColumn>(&column)) {
        return TextColumn(pick(text->codes, rows), text->levels());
    }
    if (const auto* numbers = std::get_if<Vector>(&column)) return Util::select(*numbers, rows);
    return pick(std::get<IntVector>(column), rows);
}

[[noreturn]] void failName(const char* operation, const char* what, const WString& name) {
    Checks::fail(ErrorCode::indexOutOfRange, operation,
                 std::string("no ") + what + " named \"" + name.toUtf8() + "\"");
}

int placeOf(const char* operation, const char* what, const WString& name,
            const Storage::NameList& names) {
    const int place = names.find(name);
    if (place < 0) failName(operation, what, name);
    return place;
}

static_assert(std::is_nothrow_move_constructible_v<Column>, "columns grow without copies");

}  // namespace

DataFrame::DataFrame(const WString& name) : name_(name) {}
DataFrame::~DataFrame() = default;

DataFrame::DataFrame(DataFrame&& other) noexcept
    : name_(std::exchange(other.name_, {})),
      rows_(std::exchange(other.rows_, 0)),
      columns_(std::exchange(other.columns_, {})),
      colNames_(std::exchange(other.colNames_, {})),
      rowNames_(std::exchange(other.rowNames_, {})) {}

DataFrame& DataFrame::operator=(DataFrame&& other) noexcept {
    DataFrame taken(std::move(other));
    std::swap(name_, taken.name_);
    std::swap(rows_, taken.rows_);
    std::swap(columns_, taken.columns_);
    std::swap(colNames_, taken.colNames_);
    std::swap(rowNames_, taken.rowNames_);
    return *this;
}

DataFrame& DataFrame::operator=(const DataFrame& other) { return *this = DataFrame(other); }

void DataFrame::checkRow(const char* operation, int row) const {
    Checks::index(operation, "row", row, rows_);
}

void DataFrame::checkCol(const char* operation, int col) const {
    Checks::index(operation, "column", col, getNumCols());
}

DataFrameElement DataFrame::operator()(int row, int col) & {
    checkRow("DataFrame", row);
    checkCol("DataFrame", col);
    return {*this, row, col};
}

ConstDataFrameElement DataFrame::operator()(int row, int col) const& {
    checkRow("DataFrame", row);
    checkCol("DataFrame", col);
    return {*this, row, col};
}

DataFrameElement DataFrame::operator()(int row, const WString& colName) & {
    return (*this)(row, getColIndex(colName));
}

ConstDataFrameElement DataFrame::operator()(int row, const WString& colName) const& {
    return (*this)(row, getColIndex(colName));
}

DataFrameElement DataFrame::operator()(const WString& rowName, const WString& colName) & {
    return (*this)(getRowIndex(rowName), getColIndex(colName));
}

ConstDataFrameElement DataFrame::operator()(const WString& rowName, const WString& colName) const& {
    return (*this)(getRowIndex(rowName), getColIndex(colName));
}

DataFrameColumn DataFrame::operator()(Selection::All, int col) & {
    checkCol("DataFrame", col);
    return {*this, col};
}

ConstDataFrameColumn DataFrame::operator()(Selection::All, int col) const& {
    checkCol("DataFrame", col);
    return {*this, col};
}

DataFrameColumn DataFrame::operator()(Selection::All, const WString& colName) & {
    return {*this, getColIndex(colName)};
}

ConstDataFrameColumn DataFrame::operator()(Selection::All, const WString& colName) const& {
    return {*this, getColIndex(colName)};
}

DataFrameRow DataFrame::operator()(int row, Selection::All) & {
    checkRow("DataFrame", row);
    return {*this, row};
}

ConstDataFrameRow DataFrame::operator()(int row, Selection::All) const& {
    checkRow("DataFrame", row);
    return {*this, row};
}

DataFrame DataFrame::operator()(const IntVector& rows, Selection::All) const {
    Checks::indexes("DataFrame", "row", {rows.data(), rows.size()}, rows_);
    DataFrame result(name_);
    result.rows_ = static_cast<int>(rows.size());
    for (int j = 0; j < getNumCols(); ++j) {
        const auto place = static_cast<std::size_t>(j);
        result.columns_.push_back(selectRows(columns_[place], rows));
    }
    result.colNames_ = colNames_;
    // Rows keep the names by which they were known.
    StringVector names;
    names.reserve(rows.size());
    for (const int row : rows) names.push_back(getRowName(row));
    result.setRowNames(names);
    return result;
}

DataFrame DataFrame::operator()(Selection::All, const IntVector& cols) const {
    Checks::indexes("DataFrame", "column", {cols.data(), cols.size()}, getNumCols());
    DataFrame result(name_);
    for (const int col : cols) result.append((*this)(Selection::all, col));
    result.rows_ = rows_;
    result.rowNames_ = rowNames_;
    return result;
}

DataFrame DataFrame::operator()(Selection::All, const StringVector& colNames) const {
    return (*this)(Selection::all, getColIndexes(colNames));
}

void DataFrame::append(const DataFrame& other) {
    if (columns_.empty() && rows_ == 0) {
        DataFrame copy(other);
        std::swap(copy.name_, name_);
        *this = std::move(copy);
        return;
    }
    Checks::counts("DataFrame::append", rows_, "rows in the frame", other.rows_,
                   "rows in the other frame");
    // Copied first: the other frame may be this one, and nothing may fail half-way.
    std::vector<Column> added = other.columns_;
    const std::size_t count = columns_.size() + added.size();
    if (count > columns_.capacity()) columns_.reserve(std::max(count, 2 * columns_.size()));
    colNames_.append(other.colNames_.names());
    std::move(added.begin(), added.end(), std::back_inserter(columns_));
}

void DataFrame::append(const ConstDataFrameColumn& column) {
    const auto place = static_cast<std::size_t>(column.col_);
    const WString name = column.getColName();
    appendColumn(column.frame_->columns_[place], name);
}

void DataFrame::append(const Vector& values) { appendColumn(values, values.getName()); }

void DataFrame::append(Vector&& values) {
    const WString name = values.getName();
    appendColumn(std::move(values), name);
}

void DataFrame::append(const IntVector& values) { appendColumn(values, values.getName()); }

void DataFrame::append(IntVector&& values) {
    const WString name = values.getName();
    appendColumn(std::move(values), name);
}

void DataFrame::append(const StringVector& values, const WString& colName) {
    TextColumn column;
    column.codes.reserve(values.size());
    for (const WString& value : values) column.codes.push_back(column.encode(value));
    appendColumn(std::move(column), colName);
}

void DataFrame::append(const WString& colName, IntVector codes, StringVector levels) {
    const int count = Checks::dimension("DataFrame::append", "levels", levels.size());
    Checks::indexes("DataFrame::append", "code", {codes.data(), codes.size()}, count);
    std::unordered_set<std::wstring_view> distinct;
    distinct.reserve(levels.size());
    for (const WString& level : levels) {
        if (!distinct.insert(level.view()).second) {
            Checks::fail(ErrorCode::invalidArgument, "DataFrame::append", "a level occurs twice");
        }
    }
    appendColumn(TextColumn(std::move(codes), std::move(levels)), colName);
}

void DataFrame::appendColumn(Storage::Column column, const WString& name) {
    const int size = Checks::dimension("DataFrame::append", "rows", sizeOf(column));
    const bool first = columns_.empty() && rows_ == 0;
    if (!first) {
        Checks::counts("DataFrame::append", rows_, "rows in the frame", size, "rows in the column");
    }
    columns_.push_back(std::move(column));
    try {
        colNames_.append(name);
    } catch (...) {
        columns_.pop_back();
        throw;
    }
    rows_ = size;
}

StringVector DataFrame::getRowNames() const {
    if (!rowNames_.empty()) return rowNames_.names();
    StringVector names;
    names.reserve(static_cast<std::uint64_t>(rows_));
    for (int i = 0; i < rows_; ++i) names.push_back(CellText::toString(i + 1));
    return names;
}

const WString& DataFrame::getColName(int col) const {
    checkCol("DataFrame::getColName", col);
    return colNames_[col];
}

WString DataFrame::getRowName(int row) const {
    checkRow("DataFrame::getRowName", row);
    return rowNames_.empty() ? CellText::toString(row + 1) : rowNames_[row];
}

int DataFrame::getColIndex(const WString& name) const {
    return placeOf("DataFrame", "column", name, colNames_);
}

IntVector DataFrame::getColIndexes(const StringVector& names) const {
    IntVector indexes;
    indexes.reserve(names.size());
    for (const WString& name : names) indexes.push_back(getColIndex(name));
    return indexes;
}

int DataFrame::getRowIndex(const WString& name) const {
    if (!rowNames_.empty()) return placeOf("DataFrame", "row", name, rowNames_);
    // Rows without names are found by their number, exactly as it would be written.
    std::int64_t number = 0;
    for (const wchar_t digit : name.view()) {
        if (digit < L'0' || digit > L'9' || number > rows_ / 10) failName("DataFrame", "row", name);
        number = number * 10 + (digit - L'0');
    }
    if (number < 1 || number > rows_ || name[0] == L'0') failName("DataFrame", "row", name);
    return static_cast<int>(number - 1);
}

bool DataFrame::hasColumn(const WString& name) const { return colNames_.find(name) >= 0; }

void DataFrame::setColName(int col, const WString& name) {
    checkCol("DataFrame::setColName", col);
    colNames_.rename(col, name);
}

void DataFrame::setColNames(const StringVector& names) {
    Checks::counts("DataFrame::setColNames", getNumCols(), "columns", names.size(), "names");
    colNames_ = Storage::NameList(names);
}

void DataFrame::setRowName(int row, const WString& name) {
    checkRow("DataFrame::setRowName", row);
    if (rowNames_.empty()) setRowNames(getRowNames());
    rowNames_.rename(row, name);
}

void DataFrame::setRowNames(const StringVector& names) {
    if (!names.empty()) {
        Checks::counts("DataFrame::setRowNames", rows_, "rows", names.size(), "names");
    }
    rowNames_ = Storage::NameList(names);
}

void DataFrame::setName(const WString& name) { name_ = name; }

std::uint64_t DataFrameVector::place(std::uint64_t index) const {
    Checks::index("DataFrameVector", "frame", index, size());
    return index;
}

}  // namespace Veltrix

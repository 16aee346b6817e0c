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
#include "data/frame/FrameContents.h"

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
static_assert(std::is_nothrow_move_constructible_v<DataFrame> &&
              std::is_nothrow_move_assignable_v<DataFrame>);

}  // namespace

const DataFrame::Contents& DataFrame::Contents::none() noexcept {
    static const Contents nothing;
    return nothing;
}

void DataFrame::Contents::append(Column added, const WString& colName) {
    const int size = Checks::dimension("DataFrame::append", "rows", sizeOf(added));
    if (!columns.empty() || rows != 0) {
        Checks::counts("DataFrame::append", rows, "rows in the frame", size, "rows in the column");
    }
    columns.push_back(std::move(added));
    try {
        colNames.append(colName);
    } catch (...) {
        columns.pop_back();
        throw;
    }
    rows = size;
}

DataFrame::DataFrame() noexcept = default;
DataFrame::DataFrame(const WString& name) { Contents::own(*this).name = name; }
DataFrame::DataFrame(const DataFrame& other)
    : contents_(other.contents_ ? std::make_unique<Contents>(*other.contents_) : nullptr) {}
DataFrame::DataFrame(DataFrame&& other) noexcept = default;
DataFrame& DataFrame::operator=(const DataFrame& other) { return *this = DataFrame(other); }
DataFrame& DataFrame::operator=(DataFrame&& other) noexcept = default;
DataFrame::~DataFrame() = default;

int DataFrame::getNumRows() const noexcept { return Contents::of(*this).rows; }

int DataFrame::getNumCols() const noexcept { return Contents::of(*this).numColumns(); }

bool DataFrame::empty() const noexcept { return getNumRows() == 0 || getNumCols() == 0; }

DataFrameElement DataFrame::operator()(int row, int col) & {
    const Contents& own = Contents::of(*this);
    own.checkRow("DataFrame", row);
    own.checkColumn("DataFrame", col);
    return {*this, row, col};
}

ConstDataFrameElement DataFrame::operator()(int row, int col) const& {
    const Contents& own = Contents::of(*this);
    own.checkRow("DataFrame", row);
    own.checkColumn("DataFrame", col);
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
    Contents::of(*this).checkColumn("DataFrame", col);
    return {*this, col};
}

ConstDataFrameColumn DataFrame::operator()(Selection::All, int col) const& {
    Contents::of(*this).checkColumn("DataFrame", col);
    return {*this, col};
}

DataFrameColumn DataFrame::operator()(Selection::All, const WString& colName) & {
    return {*this, getColIndex(colName)};
}

ConstDataFrameColumn DataFrame::operator()(Selection::All, const WString& colName) const& {
    return {*this, getColIndex(colName)};
}

DataFrameRow DataFrame::operator()(int row, Selection::All) & {
    Contents::of(*this).checkRow("DataFrame", row);
    return {*this, row};
}

ConstDataFrameRow DataFrame::operator()(int row, Selection::All) const& {
    Contents::of(*this).checkRow("DataFrame", row);
    return {*this, row};
}

DataFrame DataFrame::operator()(const IntVector& rows, Selection::All) const {
    Checks::indexes("DataFrame", "row", {rows.data(), rows.size()}, getNumRows());
    const Contents& from = Contents::of(*this);
    DataFrame result(from.name);
    Contents& to = Contents::own(result);
    to.rows = static_cast<int>(rows.size());
    for (const Column& column : from.columns) to.columns.push_back(selectRows(column, rows));
    to.colNames = from.colNames;
    // Rows keep the names by which they were known.
    StringVector names;
    names.reserve(rows.size());
    for (const int row : rows) names.push_back(getRowName(row));
    result.setRowNames(names);
    return result;
}

DataFrame DataFrame::operator()(Selection::All, const IntVector& cols) const {
    Checks::indexes("DataFrame", "column", {cols.data(), cols.size()}, getNumCols());
    const Contents& from = Contents::of(*this);
    DataFrame result(from.name);
    Contents& to = Contents::own(result);
    for (const int col : cols) to.append(from.column(col), from.colNames[col]);
    to.rows = from.rows;
    to.rowNames = from.rowNames;
    return result;
}

DataFrame DataFrame::operator()(Selection::All, const StringVector& colNames) const {
    return (*this)(Selection::all, getColIndexes(colNames));
}

void DataFrame::append(const DataFrame& other) {
    Contents& own = Contents::own(*this);
    const Contents& from = Contents::of(other);
    if (own.columns.empty() && own.rows == 0) {
        Contents copy(from);
        copy.name = own.name;
        own = std::move(copy);
        return;
    }
    Checks::counts("DataFrame::append", own.rows, "rows in the frame", from.rows,
                   "rows in the other frame");
    // Copied first: the other frame may be this one, and nothing may fail half-way.
    std::vector<Column> added = from.columns;
    const std::size_t before = own.columns.size();
    const std::size_t count = before + added.size();
    if (count > own.columns.capacity()) own.columns.reserve(std::max(count, 2 * before));
    own.colNames.append(from.colNames.names());
    std::move(added.begin(), added.end(), std::back_inserter(own.columns));
}

void DataFrame::append(const ConstDataFrameColumn& column) {
    const WString name = column.getColName();
    Contents::own(*this).append(Contents::of(*column.frame_).column(column.col_), name);
}

void DataFrame::append(const Vector& values) {
    Contents::own(*this).append(values, values.getName());
}

void DataFrame::append(Vector&& values) {
    const WString name = values.getName();
    Contents::own(*this).append(std::move(values), name);
}

void DataFrame::append(const IntVector& values) {
    Contents::own(*this).append(values, values.getName());
}

void DataFrame::append(IntVector&& values) {
    const WString name = values.getName();
    Contents::own(*this).append(std::move(values), name);
}

void DataFrame::append(const StringVector& values, const WString& colName) {
    TextColumn column;
    column.codes.reserve(values.size());
    for (const WString& value : values) column.codes.push_back(column.encode(value));
    Contents::own(*this).append(std::move(column), colName);
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
    Contents::own(*this).append(TextColumn(std::move(codes), std::move(levels)), colName);
}

const StringVector& DataFrame::getColNames() const noexcept {
    return Contents::of(*this).colNames.names();
}

StringVector DataFrame::getRowNames() const {
    const Contents& own = Contents::of(*this);
    if (!own.rowNames.empty()) return own.rowNames.names();
    StringVector names;
    names.reserve(static_cast<std::uint64_t>(own.rows));
    for (int i = 0; i < own.rows; ++i) names.push_back(CellText::toString(i + 1));
    return names;
}

const WString& DataFrame::getColName(int col) const {
    Contents::of(*this).checkColumn("DataFrame::getColName", col);
    return Contents::of(*this).colNames[col];
}

WString DataFrame::getRowName(int row) const {
    Contents::of(*this).checkRow("DataFrame::getRowName", row);
    const Storage::NameList& names = Contents::of(*this).rowNames;
    return names.empty() ? CellText::toString(row + 1) : names[row];
}

int DataFrame::getColIndex(const WString& name) const {
    return placeOf("DataFrame", "column", name, Contents::of(*this).colNames);
}

IntVector DataFrame::getColIndexes(const StringVector& names) const {
    IntVector indexes;
    indexes.reserve(names.size());
    for (const WString& name : names) indexes.push_back(getColIndex(name));
    return indexes;
}

int DataFrame::getRowIndex(const WString& name) const {
    const Contents& own = Contents::of(*this);
    if (!own.rowNames.empty()) return placeOf("DataFrame", "row", name, own.rowNames);
    // Rows without names are found by their number, exactly as it would be written.
    std::int64_t number = 0;
    for (const wchar_t digit : name.view()) {
        if (digit < L'0' || digit > L'9' || number > own.rows / 10)
            failName("DataFrame", "row", name);
        number = number * 10 + (digit - L'0');
    }
    if (number < 1 || number > own.rows || name[0] == L'0') failName("DataFrame", "row", name);
    return static_cast<int>(number - 1);
}

bool DataFrame::hasColumn(const WString& name) const {
    return Contents::of(*this).colNames.find(name) >= 0;
}

void DataFrame::setColName(int col, const WString& name) {
    Contents::of(*this).checkColumn("DataFrame::setColName", col);
    Contents::own(*this).colNames.rename(col, name);
}

void DataFrame::setColNames(const StringVector& names) {
    Checks::counts("DataFrame::setColNames", getNumCols(), "columns", names.size(), "names");
    Contents::own(*this).colNames = Storage::NameList(names);
}

void DataFrame::setRowName(int row, const WString& name) {
    Contents::of(*this).checkRow("DataFrame::setRowName", row);
    Storage::NameList& names = Contents::own(*this).rowNames;
    if (names.empty()) names = Storage::NameList(getRowNames());
    names.rename(row, name);
}

void DataFrame::setRowNames(const StringVector& names) {
    if (!names.empty()) {
        Checks::counts("DataFrame::setRowNames", getNumRows(), "rows", names.size(), "names");
    }
    Contents::own(*this).rowNames = Storage::NameList(names);
}

void DataFrame::setName(const WString& name) { Contents::own(*this).name = name; }

const WString& DataFrame::getName() const noexcept { return Contents::of(*this).name; }

std::uint64_t DataFrameVector::place(std::uint64_t index) const {
    Checks::index("DataFrameVector", "frame", index, size());
    return index;
}

}  // namespace Veltrix

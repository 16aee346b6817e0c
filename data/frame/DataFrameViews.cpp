#include "Veltrix/Data/DataFrameViews.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/frame/CellText.h"
#include "data/frame/FrameContents.h"
#include "support/NumberCodes.h"

namespace Veltrix {
namespace {

using Storage::Column;
using Storage::TextColumn;

/// The texts of a column of numbers, as a text column. Different numbers have different texts, so
/// that a text is made once for each of them.
template <class Numbers>
TextColumn textOf(const Numbers& numbers) {
    Support::NumberCodes known;
    IntVector codes;
    codes.reserve(numbers.size());
    StringVector texts;
    for (const auto number : numbers) {
        const int code = known.findOrAdd(number);
        codes.push_back(code);
        if (known.size() > texts.size()) texts.push_back(CellText::toString(number));
    }
    return {std::move(codes), std::move(texts)};
}

/// Writes the numbers of a text column; every level that occurs is converted once. Returns the row
/// of the first cell that is no number, or the number of rows.
std::uint64_t copyNumbers(const TextColumn& column, double* target) {
    std::vector<char> converted(column.levels().size(), 0);
    Vector levelNumbers(column.levels().size());
    for (std::uint64_t row = 0; row < column.codes.size(); ++row) {
        const auto level = static_cast<std::uint64_t>(column.codes[row]);
        if (converted[level] == 0) {
            const auto number = CellText::toDouble(column.levels()[level]);
            if (!number) return row;
            levelNumbers[level] = *number;
            converted[level] = 1;
        }
        target[row] = levelNumbers[level];
    }
    return column.codes.size();
}

StringVector textsOf(const TextColumn& column) {
    StringVector result;
    result.reserve(column.codes.size());
    for (const int code : column.codes) {
        result.push_back(column.levels()[static_cast<std::uint64_t>(code)]);
    }
    return result;
}

/// Levels that occur, ascending, and the positions of all cells among them.
StringVector sortedLevels(const TextColumn& column, IntVector& codes) {
    const StringVector& levels = column.levels();
    std::vector<char> used(levels.size(), 0);
    for (const int code : column.codes) used[static_cast<std::size_t>(code)] = 1;
    std::vector<std::size_t> order;
    for (std::size_t level = 0; level < levels.size(); ++level) {
        if (used[level] != 0) order.push_back(level);
    }
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return levels[a] < levels[b]; });
    StringVector sorted;
    sorted.reserve(order.size());
    IntVector positions(levels.size());
    for (const std::size_t level : order) {
        positions[level] = static_cast<int>(sorted.size());
        sorted.push_back(levels[level]);
    }
    codes = Util::bind(positions, column.codes);
    return sorted;
}

}  // namespace

ConstDataFrameElement::~ConstDataFrameElement() = default;
DataFrameElement::~DataFrameElement() = default;
ConstDataFrameColumn::~ConstDataFrameColumn() = default;
DataFrameColumn::~DataFrameColumn() = default;
ConstDataFrameRow::~ConstDataFrameRow() = default;
DataFrameRow::~DataFrameRow() = default;

double ConstDataFrameElement::toDouble() const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    const auto row = static_cast<std::uint64_t>(row_);
    if (const auto* numbers = std::get_if<Vector>(&column)) return (*numbers)[row];
    if (const auto* whole = std::get_if<IntVector>(&column)) return (*whole)[row];
    const auto number = CellText::toDouble(std::get<TextColumn>(column).text(row));
    if (!number) failConversion("a number");
    return *number;
}

int ConstDataFrameElement::toInt() const {
    const auto number = CellText::toInt(toDouble());
    if (!number) failConversion("a whole number of 32 bits");
    return *number;
}

void ConstDataFrameElement::failConversion(const char* expected) const {
    const WString& colName = frame_->getColName(col_);
    std::string where = "column ";
    where += colName.empty() ? std::to_string(col_) : '"' + colName.toUtf8() + '"';
    where += ", row " + std::to_string(row_);
    if (!DataFrame::Contents::of(*frame_).rowNames.empty())
        where += " (\"" + frame_->getRowName(row_).toUtf8() + "\")";
    CellText::fail(where + ": ", toString(), expected);
}

WString ConstDataFrameElement::toString() const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    const auto row = static_cast<std::uint64_t>(row_);
    if (const auto* numbers = std::get_if<Vector>(&column)) {
        return CellText::toString((*numbers)[row]);
    }
    if (const auto* whole = std::get_if<IntVector>(&column)) {
        return CellText::toString((*whole)[row]);
    }
    const auto& text = std::get<TextColumn>(column);
    return text.text(row);
}

std::partial_ordering operator<=>(const ConstDataFrameElement& a, const ConstDataFrameElement& b) {
    if (a.getKind() != ColumnKind::text || b.getKind() != ColumnKind::text) {
        return a.toDouble() <=> b.toDouble();
    }
    return a.toString().view() <=> b.toString().view();
}

DataFrame& DataFrameElement::target() const {
    if (target_ == nullptr) {
        Checks::fail(ErrorCode::invalidArgument, "DataFrameElement", "writing to a const frame");
    }
    return *target_;
}

// Writing a cell's value over itself changes nothing.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
DataFrameElement& DataFrameElement::operator=(const DataFrameElement& other) {
    return *this = static_cast<const ConstDataFrameElement&>(other);
}

DataFrameElement& DataFrameElement::operator=(const ConstDataFrameElement& other) {
    const ColumnKind kind = other.getKind();
    if (kind == ColumnKind::text) return *this = other.toString();
    if (kind == ColumnKind::integer) return *this = other.toInt();
    return *this = other.toDouble();
}

DataFrameElement& DataFrameElement::operator=(double value) {
    Column& column = DataFrame::Contents::own(target()).column(col_);
    const auto row = static_cast<std::uint64_t>(row_);
    if (auto* text = std::get_if<TextColumn>(&column)) {
        text->codes[row] = text->encode(CellText::toString(value));
        return *this;
    }
    if (auto* whole = std::get_if<IntVector>(&column)) {
        if (const auto number = CellText::toInt(value)) {
            (*whole)[row] = *number;
            return *this;
        }
        column = Vector(whole->begin(), whole->end());
    }
    std::get<Vector>(column)[row] = value;
    return *this;
}

DataFrameElement& DataFrameElement::operator=(int value) {
    return *this = static_cast<double>(value);
}

DataFrameElement& DataFrameElement::operator=(const WString& value) {
    Column& column = DataFrame::Contents::own(target()).column(col_);
    const auto row = static_cast<std::uint64_t>(row_);
    if (auto* text = std::get_if<TextColumn>(&column)) {
        text->codes[row] = text->encode(value);
        return *this;
    }
    const auto* numbers = std::get_if<Vector>(&column);
    TextColumn text = numbers ? textOf(*numbers) : textOf(std::get<IntVector>(column));
    text.codes[row] = text.encode(value);
    column = std::move(text);
    return *this;
}

DataFrameElement& DataFrameElement::operator=(const wchar_t* value) {
    return *this = WString(value);
}

ColumnKind ConstDataFrameElement::getKind() const {
    return ConstDataFrameColumn(*frame_, col_).getKind();
}

int ConstDataFrameColumn::getNumRows() const noexcept { return frame_->getNumRows(); }

const WString& ConstDataFrameColumn::getColName() const { return frame_->getColName(col_); }

ColumnKind ConstDataFrameColumn::getKind() const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    if (std::holds_alternative<Vector>(column)) return ColumnKind::numeric;
    return std::holds_alternative<IntVector>(column) ? ColumnKind::integer : ColumnKind::text;
}

ConstDataFrameElement ConstDataFrameColumn::operator()(int row) const {
    return (*frame_)(row, col_);
}

DataFrameElement DataFrameColumn::operator()(int row) {
    if (target_ == nullptr) return ConstDataFrameColumn::operator()(row);
    return (*target_)(row, col_);
}

Vector ConstDataFrameColumn::toDoubleVector() const {
    Vector result(static_cast<std::uint64_t>(getNumRows()), Storage::kUnfilled);
    copyDoubles(result.data());
    result.setName(getColName());
    return result;
}

void ConstDataFrameColumn::copyDoubles(double* target) const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    if (const auto* numbers = std::get_if<Vector>(&column)) {
        std::copy(numbers->begin(), numbers->end(), target);
    } else if (const auto* whole = std::get_if<IntVector>(&column)) {
        std::copy(whole->begin(), whole->end(), target);
    } else {
        const std::uint64_t stop = copyNumbers(std::get<TextColumn>(column), target);
        const int row = static_cast<int>(stop);
        if (row < getNumRows()) (*this)(row).failConversion("a number");
    }
}

StringVector ConstDataFrameColumn::toStringVector() const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    if (const auto* text = std::get_if<TextColumn>(&column)) return textsOf(*text);
    StringVector result;
    result.reserve(static_cast<std::uint64_t>(getNumRows()));
    for (int i = 0; i < getNumRows(); ++i) result.push_back((*this)(i).toString());
    return result;
}

StringVector ConstDataFrameColumn::getLevels() const {
    IntVector codes;
    return getLevels(codes);
}

StringVector ConstDataFrameColumn::getLevels(IntVector& codes) const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    if (const auto* text = std::get_if<TextColumn>(&column)) return sortedLevels(*text, codes);
    if (const auto* whole = std::get_if<IntVector>(&column)) {
        return sortedLevels(textOf(*whole), codes);
    }
    return sortedLevels(textOf(std::get<Vector>(column)), codes);
}

StringVector ConstDataFrameColumn::getTexts(IntVector& codes) const {
    const Column& column = DataFrame::Contents::of(*frame_).column(col_);
    const auto take = [&codes](TextColumn text) {
        codes = std::move(text.codes);
        return text.levels();
    };
    if (const auto* whole = std::get_if<IntVector>(&column)) return take(textOf(*whole));
    if (const auto* numbers = std::get_if<Vector>(&column)) return take(textOf(*numbers));
    const auto& text = std::get<TextColumn>(column);
    codes = text.codes;
    return text.levels();
}

int ConstDataFrameRow::getNumCols() const noexcept { return frame_->getNumCols(); }

WString ConstDataFrameRow::getRowName() const { return frame_->getRowName(row_); }

ConstDataFrameElement ConstDataFrameRow::operator()(int col) const { return (*frame_)(row_, col); }

ConstDataFrameElement ConstDataFrameRow::operator()(const WString& colName) const {
    return (*frame_)(row_, colName);
}

Vector ConstDataFrameRow::toDoubleVector() const {
    Vector result;
    result.reserve(static_cast<std::uint64_t>(getNumCols()));
    for (int j = 0; j < getNumCols(); ++j) result.push_back((*this)(j).toDouble());
    return result;
}

DataFrameElement DataFrameRow::operator()(int col) {
    if (target_ == nullptr) return ConstDataFrameRow::operator()(col);
    return (*target_)(row_, col);
}

DataFrameElement DataFrameRow::operator()(const WString& colName) {
    return (*this)(frame_->getColIndex(colName));
}

}  // namespace Veltrix

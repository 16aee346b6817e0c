#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Tool {

/// What a cell holds; `std::monostate` where there is nothing to say. A number that cannot be
/// computed is NaN.
using Value = std::variant<std::monostate, std::string, std::int64_t, double>;
/// A cell as the renderers see it.
using Cell = std::variant<std::monostate, std::string_view, std::int64_t, double>;

/// How numbers of a column are rounded in text output; everything else holds them unrounded.
enum class NumberStyle {
    Single,      ///< each number on its own: 6 significant digits
    Series,      ///< one scale for the column: common decimals, 6 digits for the largest
    Probability  ///< fixed decimals, scientific when small
};

struct Column {
    using Values = std::variant<std::vector<Value>, std::vector<std::string>,
                                std::vector<std::int64_t>, Vector>;

    std::string heading;
    Values values;
    NumberStyle style = NumberStyle::Single;

    std::size_t size() const;
    /// Valid as long as the column.
    Cell cell(std::size_t row) const;
};

/// A title, a row of headings, and columns of equal length, which are appended one by one.
struct Table {
    std::string title;
    std::vector<Column> columns;
    std::vector<std::string> notes = {};
    /// Labels and values: text output shows no headings.
    bool entries = false;
    /// One row per record of the data: text output shows the first ones only.
    bool perRecord = false;
    /// Made for a chart: text output leaves it out.
    bool chartOnly = false;

    std::size_t numRows() const { return columns.empty() ? 0 : columns.front().size(); }

    Table& add(Column column);
    Table& text(std::string heading, std::vector<std::string> values);
    Table& text(std::string heading, const StringVector& values);
    Table& integers(std::string heading, std::vector<std::int64_t> values);
    Table& integers(std::string heading, const IntVector& values);
    /// `first`, `first` + 1, ...: as many as `count` says.
    Table& counted(std::string heading, std::uint64_t count, std::int64_t first = 1);
    /// Numbers that are rounded each on its own.
    Table& numbers(std::string heading, Vector values);
    /// Numbers on one scale.
    Table& series(std::string heading, Vector values);
    Table& probability(std::string heading, Vector values);
    Table& cells(std::string heading, std::vector<Value> values,
                 NumberStyle style = NumberStyle::Single);
    /// Empty texts but for the row `place`.
    Table& marked(std::string heading, std::uint64_t count, int place, std::string mark);
    /// Every column of the matrix as a series.
    Table& matrix(const std::vector<std::string>& headings, const Matrix& values);
    /// A row of a table of labels and values.
    Table& entry(std::string label, Value value);
    Table& note(std::string text);
    Table& note(const std::vector<std::string>& texts);
};

/// A column of a report's table, by position.
struct ChartAxis {
    std::size_t table = 0;
    std::size_t column = 0;
};

/// Consecutive rows of a chart's columns that are drawn as a series of their own.
struct ChartGroup {
    std::string name;
    std::size_t firstRow = 0;
    std::size_t numRows = 0;
};

/// A scatter chart of two columns of equal length that hold finite numbers only.
struct Chart {
    std::string title;
    ChartAxis x;
    ChartAxis y;
    /// Further columns, drawn as lines over the same x.
    std::vector<ChartAxis> lines = {};
    /// Joins every point to the x axis.
    bool stems = false;
    /// Draws one line from point to point in place of the points.
    bool path = false;
    /// All rows are one series when there is none; otherwise a legend names them.
    std::vector<ChartGroup> groups = {};
};

/// What a task found out, independent of how it is shown.
struct Report {
    std::string title;
    std::vector<Table> tables;
    std::vector<Chart> charts = {};
};

/// A double as a cell: an integer when it counts something and is finite.
Value countValue(double count);

/// Names as the report shows them.
std::vector<std::string> toTexts(const StringVector& names);

/// "NaN", "Infinity" or "-Infinity".
std::string_view nonFiniteText(double number);

}  // namespace Veltrix::Tool

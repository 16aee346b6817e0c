#pragma once

#include <deque>
#include <string>
#include <vector>

#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// A column of a report by the names of its table and of itself.
struct NamedColumn {
    std::string table;
    std::string column;
};

/// A chart in the making; see `Chart`.
class ChartBuilder {
  public:
    explicit ChartBuilder(std::string title) : title_(std::move(title)) {}

    ChartBuilder& x(std::string table, std::string column);
    ChartBuilder& y(std::string table, std::string column);
    /// Joins the points by a line.
    ChartBuilder& line();
    /// A further column drawn as a line.
    ChartBuilder& line(std::string table, std::string column);
    ChartBuilder& stems();
    ChartBuilder& path();
    /// The next rows are a series of their own.
    ChartBuilder& group(std::string name, std::size_t numRows);

  private:
    friend class ReportBuilder;

    std::string title_;
    NamedColumn x_;
    NamedColumn y_;
    std::vector<NamedColumn> lines_;
    bool stems_ = false;
    bool path_ = false;
    std::vector<ChartGroup> groups_;
};

/// A report in the making: tables in their order, and charts of their columns by name.
class ReportBuilder {
  public:
    explicit ReportBuilder(std::string title) : title_(std::move(title)) {}

    /// An empty table at the end; the reference stays valid.
    Table& table(std::string title);
    /// The same with one row per record of the data.
    Table& records(std::string title);
    /// The same for a chart only; it is left out when its chart is.
    Table& chartTable(std::string title);
    ChartBuilder& chart(std::string title);

    /// The report; the builder is empty then. Charts that have no row, or a number that is not
    /// finite, are left out. Throws `std::logic_error` for a chart of a column that does not exist.
    Report take();

  private:
    ChartAxis find(const NamedColumn& column) const;
    Chart resolve(const ChartBuilder& chart) const;
    bool isDrawable(const ChartBuilder& chart) const;

    std::string title_;
    std::deque<Table> tables_;
    std::deque<ChartBuilder> charts_;
};

}  // namespace Veltrix::Tool

#include "tools/veltrix/report/WorkbookRenderer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <random>
#include <set>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <xlsxwriter.h>

#include "support/Files.h"
#include "support/Utf8.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/ChildStep.h"
#include "tools/veltrix/report/TextRenderer.h"

namespace Veltrix::Tool {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMaxRows = LXW_ROW_MAX;
constexpr std::size_t kMaxColumns = LXW_COL_MAX;
constexpr std::size_t kLongestText = 32767;
constexpr std::size_t kTitleRows = 2;  // title and headings
constexpr const char* kChartSheet = "Charts";

/// Rows of the table that its sheet has room for, with the notes and one on cut cells below.
std::size_t rowsShown(const Table& table) {
    return std::min(table.numRows(), kMaxRows - kTitleRows - table.notes.size() - 2);
}

void check(lxw_error error) {
    if (error == LXW_NO_ERROR) return;
    if (errno == ENOMEM) throw std::bad_alloc();
    throw Support::FileError(std::string("Cannot write the workbook: ") + lxw_strerror(error));
}

struct FreeWorkbook {
    void operator()(lxw_workbook* workbook) const { lxw_workbook_free(workbook); }
};
using Workbook = std::unique_ptr<lxw_workbook, FreeWorkbook>;

/// The start of a text that a cell has room for; its length counts UTF-16 units.
std::string_view cellText(std::string_view text) {
    std::size_t units = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0U) == 0x80U) continue;  // within a character
        units += byte >= 0xF0U ? 2U : 1U;
        if (units > kLongestText) return text.substr(0, i);
    }
    return text;
}

struct Place {
    lxw_worksheet* sheet;
    lxw_row_t row;
    lxw_col_t column;
    std::int64_t& numCut;  ///< counts the texts that were too long
    lxw_format* format = nullptr;

    void operator()(std::monostate) const {}
    void operator()(std::int64_t number) const { (*this)(static_cast<double>(number)); }
    void operator()(double number) const {
        if (!std::isfinite(number)) return (*this)(nonFiniteText(number));
        check(worksheet_write_number(sheet, row, column, number, format));
    }
    void operator()(std::string_view text) const {
        const std::string shown(cellText(text));
        if (shown.size() < text.size()) ++numCut;
        check(worksheet_write_string(sheet, row, column, shown.c_str(), format));
    }
};

double columnWidth(const Column& column) {
    constexpr std::size_t kLookedAt = 100;
    std::size_t width = displayWidth(column.heading);
    for (std::size_t i = 0; i < std::min(column.size(), kLookedAt); ++i) {
        const Cell cell = column.cell(i);
        const auto* const text = std::get_if<std::string_view>(&cell);
        if (text != nullptr) width = std::max(width, displayWidth(*text));
    }
    return static_cast<double>(std::clamp<std::size_t>(width + 2, 12, 60));
}

/// Rows are written top to bottom, as the library keeps only the current one in memory.
void writeTable(lxw_worksheet* sheet, const Table& table, lxw_format* bold) {
    const std::size_t rows = rowsShown(table);
    const std::size_t columns = std::min(table.columns.size(), kMaxColumns);
    std::string title = table.title;
    if (rows < table.numRows() || columns < table.columns.size()) {
        title += fmt::format(" (cut to what a sheet holds: {} of {} rows, {} of {} columns)", rows,
                             table.numRows(), columns, table.columns.size());
    }
    std::int64_t numCut = 0;
    const auto at = [&](std::size_t row, std::size_t column, lxw_format* format = nullptr) {
        return Place{sheet, static_cast<lxw_row_t>(row), static_cast<lxw_col_t>(column), numCut,
                     format};
    };
    for (std::size_t j = 0; j < columns; ++j) {
        const auto column = static_cast<lxw_col_t>(j);
        check(worksheet_set_column(sheet, column, column, columnWidth(table.columns[j]), nullptr));
    }
    worksheet_freeze_panes(sheet, kTitleRows, 1);
    at(0, 0, bold)(title);
    for (std::size_t j = 0; j < columns; ++j) at(1, j, bold)(table.columns[j].heading);
    for (std::size_t i = 0; i < rows; ++i) {
        for (std::size_t j = 0; j < columns; ++j) {
            std::visit(at(kTitleRows + i, j), table.columns[j].cell(i));
        }
    }
    for (std::size_t k = 0; k < table.notes.size(); ++k) {
        at(kTitleRows + rows + 1 + k, 0)(table.notes[k]);
    }
    if (numCut > 0) {
        at(kTitleRows + rows + 1 + table.notes.size(),
           0)(fmt::format("{} held more than {} characters and {} cut", counted(numCut, "cell"),
                          kLongestText, numCut == 1 ? "is" : "are"));
    }
    // The rows wait in a temporary file, whose errors the library does not look at.
    if (sheet->optimize_tmpfile != nullptr &&
        (std::fflush(sheet->optimize_tmpfile) != 0 || std::ferror(sheet->optimize_tmpfile) != 0)) {
        check(LXW_ERROR_CREATING_TMPFILE);
    }
}

/// Shared by the sheets and the charts that point into them.
struct Sheets {
    const std::vector<Table>& tables;
    std::vector<std::string> names;

    const Column& column(const ChartAxis& axis) const {
        return tables[axis.table].columns[axis.column];
    }
};

using SetRange = void (*)(lxw_chart_series*, const char*, lxw_row_t, lxw_col_t, lxw_row_t,
                          lxw_col_t);

/// Rows [firstRow, endRow) of a column.
void setRange(SetRange set, lxw_chart_series* series, const ChartAxis& axis, const Sheets& sheets,
              std::size_t firstRow, std::size_t endRow) {
    const auto column = static_cast<lxw_col_t>(axis.column);
    set(series, sheets.names[axis.table].c_str(), static_cast<lxw_row_t>(kTitleRows + firstRow),
        column, static_cast<lxw_row_t>(kTitleRows + endRow - 1), column);
}

void setRange(SetRange set, lxw_chart_series* series, const ChartAxis& axis, const Sheets& sheets) {
    setRange(set, series, axis, sheets, 0, rowsShown(sheets.tables[axis.table]));
}

/// Joins the points to the x axis by error bars as long as their values.
void drawStems(lxw_chart_series* series) {
    lxw_series_error_bars* const bars = series->y_error_bars;
    chart_series_set_error_bars(bars, LXW_CHART_ERROR_BAR_TYPE_PERCENTAGE, 100.0);
    chart_series_set_error_bars_direction(bars, LXW_CHART_ERROR_BAR_DIR_MINUS);
    chart_series_set_error_bars_endcap(bars, LXW_CHART_ERROR_BAR_NO_CAP);
}

void drawLine(lxw_chart* plot, const ChartAxis& x, const ChartAxis& y, const Sheets& sheets) {
    lxw_chart_series* const series = chart_add_series(plot, nullptr, nullptr);
    if (series == nullptr) check(LXW_ERROR_MEMORY_MALLOC_FAILED);
    setRange(chart_series_set_categories, series, x, sheets);
    setRange(chart_series_set_values, series, y, sheets);
    chart_series_set_marker_type(series, LXW_CHART_MARKER_NONE);
    lxw_chart_line line{};
    line.color = 0x808080;
    line.width = 1.0F;
    line.dash_type = LXW_CHART_LINE_DASH_DASH;
    chart_series_set_line(series, &line);
}

/// Draws rows [firstRow, endRow) in the colour of that number.
lxw_chart_series* drawPoints(lxw_chart* plot, const Chart& chart, const Sheets& sheets,
                             std::size_t firstRow, std::size_t endRow, std::size_t color) {
    lxw_chart_series* const series = chart_add_series(plot, nullptr, nullptr);
    if (series == nullptr) check(LXW_ERROR_MEMORY_MALLOC_FAILED);
    setRange(chart_series_set_categories, series, chart.x, sheets, firstRow, endRow);
    setRange(chart_series_set_values, series, chart.y, sheets, firstRow, endRow);
    if (chart.path) {
        chart_series_set_marker_type(series, LXW_CHART_MARKER_NONE);
        lxw_chart_line along{};
        along.color = seriesColor(color);
        along.width = 1.25F;
        chart_series_set_line(series, &along);
        return series;
    }
    chart_series_set_marker_type(series, LXW_CHART_MARKER_CIRCLE);
    chart_series_set_marker_size(series, 5);
    lxw_chart_fill fill{};
    fill.color = seriesColor(color);
    chart_series_set_marker_fill(series, &fill);
    lxw_chart_line border{};
    border.color = fill.color;
    chart_series_set_marker_line(series, &border);
    if (chart.stems) drawStems(series);
    return series;
}

void insertChart(lxw_workbook* workbook, lxw_worksheet* sheet, lxw_row_t row, const Chart& chart,
                 const Sheets& sheets) {
    lxw_chart* const plot = workbook_add_chart(workbook, LXW_CHART_SCATTER);
    if (plot == nullptr) check(LXW_ERROR_MEMORY_MALLOC_FAILED);
    const std::size_t rows = rowsShown(sheets.tables[chart.y.table]);
    for (std::size_t k = 0; k < chart.groups.size(); ++k) {
        const ChartGroup& group = chart.groups[k];
        const std::size_t end = std::min(group.firstRow + group.numRows, rows);
        if (group.firstRow >= end) continue;
        lxw_chart_series* const series = drawPoints(plot, chart, sheets, group.firstRow, end, k);
        chart_series_set_name(series, group.name.c_str());
    }
    if (chart.groups.empty()) {
        drawPoints(plot, chart, sheets, 0, rows, 0);
        chart_legend_set_position(plot, LXW_CHART_LEGEND_NONE);
    }
    for (const ChartAxis& line : chart.lines) drawLine(plot, chart.x, line, sheets);
    chart_title_set_name(plot, chart.title.c_str());
    chart_axis_set_name(plot->x_axis, sheets.column(chart.x).heading.c_str());
    chart_axis_set_name(plot->y_axis, sheets.column(chart.y).heading.c_str());
    // Axes cross at 0; their labels belong at the edge of the plot.
    chart_axis_set_label_position(plot->x_axis, LXW_CHART_AXIS_LABEL_POSITION_LOW);
    chart_axis_set_label_position(plot->y_axis, LXW_CHART_AXIS_LABEL_POSITION_LOW);
    lxw_chart_options size{};
    size.x_scale = 1.5;
    size.y_scale = 1.5;
    check(worksheet_insert_chart_opt(sheet, row, 0, plot, &size));
}

lxw_worksheet* addSheet(lxw_workbook* workbook, const std::string& name) {
    check(workbook_validate_sheet_name(workbook, name.c_str()));
    lxw_worksheet* const sheet = workbook_add_worksheet(workbook, name.c_str());
    if (sheet == nullptr) check(LXW_ERROR_MEMORY_MALLOC_FAILED);
    return sheet;
}

/// The title without what a sheet name cannot hold, cut to a length.
std::string cleanSheetName(const std::string& title, std::size_t longest) {
    std::u32string name = Support::decodeUtf8<char32_t>(title);
    std::erase_if(name, [](char32_t c) {
        return c < U' ' || std::u32string_view(U"[]:*?/\\'").find(c) != std::u32string_view::npos;
    });
    name.resize(std::min(name.size(), longest));
    while (name.ends_with(U' ')) name.pop_back();
    return name.empty() ? "Table" : Support::encodeUtf8<char32_t>(name);
}

std::string lowerCase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

/// A folder for the library's temporary files, which it leaves there when its process is ended.
class ScratchFolder {
  public:
    ScratchFolder() {
        const auto time = std::chrono::steady_clock::now().time_since_epoch().count();
        const std::string parent = Support::temporaryFolder();
        path_ = fs::path(std::u8string(parent.begin(), parent.end())) /
                fmt::format("veltrix-workbook-{}-{}", std::random_device{}(), time);
        std::error_code cause;
        if (fs::create_directory(path_, cause)) {
            fs::permissions(path_, fs::perms::owner_all, cause);
        }
        if (!cause) return;
        throw Support::FileError("Cannot write the workbook: no temporary folder in " + parent +
                                 ": " + cause.message());
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        if (fs::remove(path_, ignored)) return;  // it is empty unless the child was ended
        try {
            fs::remove_all(path_, ignored);
        } catch (const std::bad_alloc&) {
            return;
        }
    }

    std::string path() const { return path_.string(); }

  private:
    fs::path path_;
};

void buildWorkbook(const Report& report, const std::string& path, std::string folder) {
    errno = 0;
    std::size_t cells = 0;
    for (const Table& table : report.tables) cells += rowsShown(table) * table.columns.size();
    constexpr std::size_t kManyCells = 40'000'000;  // about 2 GB of sheet text
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    options.tmpdir = folder.data();
    options.use_zip64 = cells > kManyCells ? LXW_TRUE : LXW_FALSE;
    Workbook workbook(workbook_new_opt(path.c_str(), &options));
    if (!workbook) check(LXW_ERROR_MEMORY_MALLOC_FAILED);
    lxw_format* const bold = workbook_add_format(workbook.get());
    format_set_bold(bold);
    const Sheets sheets{report.tables, sheetNames(report.tables)};
    for (std::size_t k = 0; k < sheets.names.size(); ++k) {
        writeTable(addSheet(workbook.get(), sheets.names[k]), report.tables[k], bold);
    }
    if (!report.charts.empty()) {
        constexpr lxw_row_t kChartRows = 24;
        lxw_worksheet* const sheet = addSheet(workbook.get(), kChartSheet);
        lxw_row_t row = 0;
        for (const Chart& chart : report.charts) {
            insertChart(workbook.get(), sheet, row, chart, sheets);
            row += kChartRows;
        }
    }
    check(workbook_close(workbook.release()));
}

}  // namespace

std::vector<std::string> sheetNames(const std::vector<Table>& tables) {
    std::set<std::string> taken{lowerCase(kChartSheet)};
    std::vector<std::string> names;
    for (const Table& table : tables) {
        std::string name = cleanSheetName(table.title, LXW_SHEETNAME_MAX);
        for (int k = 2; !taken.insert(lowerCase(name)).second; ++k) {
            const std::string number = fmt::format(" {}", k);
            name = cleanSheetName(table.title, LXW_SHEETNAME_MAX - number.size()) + number;
        }
        names.push_back(std::move(name));
    }
    return names;
}

std::uint32_t seriesColor(std::size_t index) {
    // Hues a golden section of the circle apart never meet; in turn full, dark and pale.
    constexpr double kGoldenSection = 0.6180339887498949;
    constexpr double kFirstHue = 0.6;  // blue
    constexpr std::array<std::pair<double, double>, 3> kShades = {
        {{0.80, 0.85}, {0.95, 0.55}, {0.45, 0.95}}};  // saturation, value
    const double hue =
        6.0 * std::fmod(kFirstHue + kGoldenSection * static_cast<double>(index), 1.0);
    const auto [saturation, value] = kShades[index % kShades.size()];
    std::uint32_t color = 0;
    for (const double primary : {5.0, 3.0, 1.0}) {  // red, green, blue
        const double k = std::fmod(primary + hue, 6.0);
        const double dip = std::clamp(std::min(k, 4.0 - k), 0.0, 1.0);
        const double share = value - value * saturation * dip;
        color = color << 8U | static_cast<std::uint32_t>(std::lround(255.0 * share));
    }
    return color;
}

void writeWorkbook(const Report& report, const std::string& path) {
    // The library takes every allocation for granted and talks on stderr.
    const ScratchFolder scratch;
    runInChild("Cannot write the workbook", [&] { buildWorkbook(report, path, scratch.path()); });
}

}  // namespace Veltrix::Tool

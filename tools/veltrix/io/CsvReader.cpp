#include "tools/veltrix/io/CsvReader.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/Suggestion.h"
#include "tools/veltrix/host/TextParts.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvScanner.h"
#include "tools/veltrix/io/Encoding.h"
#include "tools/veltrix/io/TextLines.h"
#include "tools/veltrix/io/TextPool.h"

namespace Veltrix::Tool {
namespace {

/// A column as it is read: numbers as long as every cell is one, else codes into distinct texts.
struct ColumnBuilder {
    std::string name;
    bool unnamed = false;  // in the file
    bool excluded = false;
    bool isText = false;
    bool failed = false;    // text turned up among the numbers: read again as text
    bool complete = false;  // by an earlier pass
    Vector numbers;
    IntVector codes;
    TextPool levels;
    std::vector<std::int64_t> firstRows;  // where each level stands first

    bool takesNumbers() const { return !isText && !failed && !complete; }
    bool hasValues() const {
        return isText ? levels.texts().size() > 1 ||
                            (levels.texts().size() == 1 && !levels.texts()[0].empty())
                      : !std::ranges::all_of(numbers, [](double x) { return std::isnan(x); });
    }

    void addText(std::string_view text, std::int64_t row) {
        const int code = levels.add(text);
        if (static_cast<std::size_t>(code) == firstRows.size()) firstRows.push_back(row);
        codes.push_back(code);
    }

    /// Forgets the cells and makes room for so many new ones.
    void restart(std::int64_t rows) {
        ColumnBuilder fresh;
        fresh.name = std::move(name);
        fresh.unnamed = unnamed;
        fresh.excluded = fresh.complete = excluded;
        fresh.isText = isText || failed;
        *this = std::move(fresh);
        if (isText) {
            codes.reserve(static_cast<std::uint64_t>(rows));
        } else {
            numbers.reserve(static_cast<std::uint64_t>(rows));
        }
    }
};

/// Where a row begins, for messages: found by going over the text again, so that reading need not
/// count lines. The header is row 0; lines count from 1.
std::string placeOf(std::string_view text, const char* rowStart, std::int64_t row) {
    const auto before = static_cast<std::size_t>(rowStart - text.data());
    TextLines lines(text.substr(0, before));
    std::int64_t line = 1;
    while (!lines.next().empty()) ++line;
    return (row == 0 ? "header" : "row " + std::to_string(row)) + " (line " + std::to_string(line) +
           ")";
}

/// Goes over the text and fills the columns that are not complete.
class CsvPass {
  public:
    CsvPass(const std::string& file, std::string_view text, const CsvOptions& options,
            const CsvDialect& dialect, std::vector<ColumnBuilder>& columns)
        : file_(file),
          text_(text),
          options_(options),
          dialect_(dialect),
          columns_(columns),
          scanner_(text, dialect.delimiter, static_cast<std::size_t>(csvSettings().maxRecord)) {
        const auto& missing = options.missing;
        emptyIsMissing_ = std::ranges::find(missing, "") != missing.end();
        numbersCount_ = std::ranges::none_of(missing, [&dialect](const std::string& cell) {
            return parseNumber(cell, dialect).has_value();
        });
    }

    /// Reads the header and so many rows at most; returns the number of these.
    std::int64_t run(std::int64_t rowLimit) {
        ProgressPhase phase("Reading", text_.size());
        const char* reported = text_.data();
        try {
            readHeader();
            const bool blankRows = columns_.size() == 1;
            while (row_ < rowLimit && scanner_.nextRow(blankRows)) {
                ++row_;
                readRow();
                const auto done = static_cast<std::size_t>(scanner_.position() - reported);
                if (done < kReported) continue;
                phase.advance(done);
                reported = scanner_.position();
            }
        } catch (const CsvFault& fault) {
            fail(fault.kind);
        }
        return row_;
    }

    /// Where a data row stands, for messages.
    std::string place(std::int64_t row) {
        readHeader();
        while (row_ < row && scanner_.nextRow(columns_.size() == 1)) {
            ++row_;
            do scanner_.cell();
            while (!scanner_.rowEnded());
        }
        return place();
    }

  private:
    static constexpr std::size_t kReported = std::size_t{1} << 16U;
    static constexpr std::size_t kMostColumns = std::size_t{1} << 20U;

    std::string place() const { return placeOf(text_, scanner_.rowStart(), row_); }

    [[noreturn]] void fail(CsvFault::Kind fault) const {
        if (fault == CsvFault::Kind::Length) {
            throw UserError(file_ + ": " + place() + " is longer than the " +
                            std::to_string(csvSettings().maxRecord) +
                            " bytes of --max-record; a row ends with its line unless a quotation "
                            "mark is open");
        }
        throw UserError(file_ + ": " + place() +
                        ": misplaced or unclosed quotation mark; a quoted cell begins and ends "
                        "with one, and has them doubled inside");
    }

    void readHeader() {
        if (!scanner_.nextRow()) throw UserError(file_ + ": empty, expected a header row");
        const bool named = !columns_.empty();  // by an earlier pass
        std::size_t index = 0;
        do {
            const std::string_view name = scanner_.cell();
            if (named) continue;
            if (++index > kMostColumns) {
                throw UserError(file_ + ": " + place() + " has more than " +
                                std::to_string(kMostColumns) + " cells");
            }
            columns_.emplace_back();
            columns_.back().unnamed = name.empty();
            columns_.back().name = name.empty() ? "column" + std::to_string(index) : name;
        } while (!scanner_.rowEnded());
    }

    void readRow() {
        const std::size_t columns = columns_.size();
        std::size_t read = 0;
        do {
            if (read < columns) {
                readCell(columns_[read]);
            } else if (!scanner_.cell().empty() || read > columns) {
                failCells(read + 1);
            }
            ++read;
        } while (!scanner_.rowEnded());
        if (read >= columns) return;
        if (read + 1 < columns || !columns_.back().unnamed) failCells(read);
        addCell(columns_.back(), {});  // the trailing comma is missing in this row
    }

    [[noreturn]] void failCells(std::size_t read) {
        for (; !scanner_.rowEnded(); ++read) scanner_.cell();
        throw UserError(file_ + ": " + place() + " has " + std::to_string(read) +
                        " cells, the header has " + std::to_string(columns_.size()));
    }

    void readCell(ColumnBuilder& column) {
        double number = 0.0;
        if (numbersCount_ && column.takesNumbers() && scanner_.number(dialect_.decimal, number)) {
            column.numbers.push_back(number);
        } else {
            addCell(column, scanner_.cell());
        }
    }

    void addCell(ColumnBuilder& column, std::string_view cell) {
        if (column.complete || column.failed) return;
        const bool missing = isMissing(cell);
        if (column.isText) {
            column.addText(missing ? std::string_view() : cell, row_);
            return;
        }
        const std::optional<double> number =
            missing ? std::numeric_limits<double>::quiet_NaN() : parseNumber(cell, dialect_);
        if (number) {
            column.numbers.push_back(*number);
        } else {
            column.failed = true;
            column.numbers = Vector();
        }
    }

    bool isMissing(std::string_view cell) const {
        if (cell.empty()) return emptyIsMissing_;
        for (const std::string& text : options_.missing) {
            // The first characters tell most cells apart without a call.
            if (!text.empty() && text.front() == cell.front() && text == cell) return true;
        }
        return false;
    }

    const std::string& file_;
    std::string_view text_;
    const CsvOptions& options_;
    const CsvDialect& dialect_;
    std::vector<ColumnBuilder>& columns_;
    CsvScanner scanner_;
    bool emptyIsMissing_ = false;
    bool numbersCount_ = true;  // no number stands for a missing value
    std::int64_t row_ = 0;
};

void checkNames(const std::string& file, const std::vector<ColumnBuilder>& columns) {
    std::unordered_set<std::string_view> names;
    for (std::size_t j = 0; j < columns.size(); ++j) {
        if (names.insert(columns[j].name).second) continue;
        throw UserError(file + ": header, column " + std::to_string(j + 1) + ": the name " +
                        Tool::quoted(columns[j].name) + " stands there a second time");
    }
}

/// Number of rows, from above: each ends a line and has a byte a cell.
std::int64_t mostRows(std::string_view text, std::size_t columns) {
    const auto lines = 1 + std::max(std::ranges::count(text, '\n'), std::ranges::count(text, '\r'));
    return std::min<std::int64_t>(lines, static_cast<std::int64_t>(text.size() / columns) + 1);
}

/// A CSV text, read into columns.
class CsvText {
  public:
    CsvText(std::string file, std::string_view text, const CsvOptions& options)
        : file_(std::move(file)),
          text_(text),
          options_(options),
          dialect_(recogniseDialect(text, options.dialect)) {
        if (dialect_.decimal != dialect_.thousands) return;
        throw UserError(file_ + ": one character is the decimal mark and parts groups of digits");
    }

    const CsvDialect& dialect() const { return dialect_; }

    /// Reads all columns: their kinds from the first rows, everything in one pass over the file,
    /// and columns whose first text comes late in another.
    void read() {
        constexpr std::int64_t kFirstRows = 1000;
        pass().run(kFirstRows);
        checkNames(file_, columns_);
        exclude();
        for (ColumnBuilder& column : columns_) {
            const bool wanted =
                std::ranges::find(options_.textColumns, column.name) != options_.textColumns.end();
            column.isText = column.isText || options_.allText || wanted;
        }
        const std::int64_t room = std::min(mostRows(text_, columns_.size()), kMostRows);
        for (ColumnBuilder& column : columns_) column.restart(room);
        while (!readRest(room)) continue;
        if (columns_.size() > 1 && columns_.back().unnamed && !columns_.back().hasValues()) {
            columns_.back().excluded = true;
        }
    }

    /// Moves the columns into the frame.
    void appendTo(DataFrame& frame) {
        for (ColumnBuilder& column : columns_) {
            if (!column.excluded) append(frame, std::move(column));
        }
    }

  private:
    static constexpr std::int64_t kMostRows = std::numeric_limits<std::int32_t>::max();

    CsvPass pass() { return {file_, text_, options_, dialect_, columns_}; }

    void exclude() {
        for (const std::string& value : options_.excluded) {
            if (ColumnBuilder* const column = find(value)) {
                column->excluded = true;
                continue;
            }
            for (const std::string& name : splitAtCommas(value)) {
                ColumnBuilder* const column = find(name);
                if (column == nullptr) failExcluded(name);
                column->excluded = true;
            }
        }
        if (std::ranges::all_of(columns_, &ColumnBuilder::excluded)) {
            throw UserError(file_ + ": --exclude leaves no column");
        }
    }

    ColumnBuilder* find(const std::string& name) {
        const auto found = std::ranges::find(columns_, name, &ColumnBuilder::name);
        return found == columns_.end() ? nullptr : &*found;
    }

    [[noreturn]] void failExcluded(const std::string& name) const {
        std::vector<std::string> names;
        for (const ColumnBuilder& column : columns_) names.push_back(column.name);
        throw UserError(file_ + ": --exclude: no column " + Tool::quoted(name) + "; " +
                        suggestion(name, names, "the columns are"));
    }

    /// Whether all columns are complete now.
    bool readRest(std::int64_t room) {
        if (pass().run(kMostRows) >= kMostRows) {
            throw UserError(file_ + ": more rows than a table can hold");
        }
        bool complete = true;
        for (ColumnBuilder& column : columns_) {
            complete = complete && !column.failed;
            if (column.failed) {
                column.restart(room);
            } else {
                column.complete = true;
            }
        }
        return complete;
    }

    void append(DataFrame& frame, ColumnBuilder column) {
        const WString name = decode(column.name, [&] {
            return file_ + ": header, column " + std::to_string(frame.getNumCols() + 1);
        });
        if (!column.isText) {
            column.numbers.setName(name);
            frame.append(std::move(column.numbers));
            return;
        }
        const std::vector<std::string_view>& texts = column.levels.texts();
        StringVector levels;
        levels.reserve(texts.size());
        for (std::size_t level = 0; level < texts.size(); ++level) {
            levels.push_back(decode(texts[level], [&] {
                return file_ + ": " + pass().place(column.firstRows[level]) + ", column " +
                       Tool::quoted(column.name);
            }));
        }
        frame.append(name, std::move(column.codes), std::move(levels));
    }

    std::string file_;
    std::string_view text_;
    const CsvOptions& options_;
    CsvDialect dialect_;
    std::vector<ColumnBuilder> columns_;
};

}  // namespace

CsvTable readCsv(const std::string& path, const CsvOptions& options) {
    const std::string file = oneLine(path);
    const std::string bytes = readCells(path);
    CsvText csv(file, checkedText(file, bytes), options);
    csv.read();
    const std::string name = std::filesystem::path(path).stem().string();
    CsvTable table{DataFrame(decode(name, [&] { return std::string(file); })), csv.dialect()};
    csv.appendTo(table.frame);
    return table;
}

}  // namespace Veltrix::Tool

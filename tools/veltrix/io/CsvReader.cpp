#include "tools/veltrix/io/CsvReader.h"

#include <csv.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <limits>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvSettings.h"
#include "tools/veltrix/io/TextLines.h"
#include "tools/veltrix/io/TextPool.h"

namespace Veltrix::Tool {
namespace {

/// A column as it is read: numbers as long as every cell is one, else codes into distinct texts.
struct ColumnBuilder {
    std::string name;
    bool isText = false;
    bool failed = false;    // text turned up among the numbers: read again as text
    bool complete = false;  // by an earlier pass
    Vector numbers;
    IntVector codes;
    TextPool levels;
    std::vector<std::int64_t> firstRows;  // where each level stands first

    void addText(std::string_view text, std::int64_t row) {
        const int code = levels.add(text);
        if (static_cast<std::size_t>(code) == firstRows.size()) firstRows.push_back(row);
        codes.push_back(code);
    }

    /// Forgets the cells and makes room for so many new ones.
    void restart(std::int64_t rows) {
        ColumnBuilder fresh;
        fresh.name = std::move(name);
        fresh.isText = isText || failed;
        *this = std::move(fresh);
        if (isText) {
            codes.reserve(static_cast<std::uint64_t>(rows));
        } else {
            numbers.reserve(static_cast<std::uint64_t>(rows));
        }
    }
};

bool isBlank(std::string_view line, char delimiter) {
    return std::ranges::all_of(line, [delimiter](char c) {
        return c == '\n' || c == '\r' || ((c == ' ' || c == '\t') && c != delimiter);
    });
}

/// Where a row begins, for messages: found by going over the text again, so that reading need not
/// count lines. The header is row 0; lines count from 1.
std::string placeOf(std::string_view text, char delimiter, std::size_t columns,
                    std::int64_t wanted) {
    std::int64_t row = -1;
    std::int64_t number = 0;
    bool quoted = false;
    TextLines lines(text);
    for (std::string_view line = lines.next(); !line.empty(); line = lines.next()) {
        ++number;
        const bool counts = !isBlank(line, delimiter) || (columns == 1 && row >= 0);
        if (!quoted && counts && ++row == wanted) break;
        if (std::ranges::count(line, '"') % 2 != 0) quoted = !quoted;
    }
    const std::string name = wanted == 0 ? "header" : "row " + std::to_string(wanted);
    return name + " (line " + std::to_string(number) + ")";
}

/// Measures the records of a text that comes in blocks. In a well-formed text a line end is one of
/// a record where an even number of quotation marks stands before it.
class RecordSizes {
  public:
    /// Bytes, with those in this block, of the record that was open before it: the only one that
    /// can be longer than a block.
    std::size_t addBlock(std::string_view block) {
        std::size_t first = 0;
        for (bool quoted = quoted_; first < block.size();) {
            if (endsRecord(block[first++], quoted)) break;
        }
        const std::size_t size = open_ + first;
        quoted_ = quoted_ != (std::ranges::count(block, '"') % 2 != 0);
        std::size_t last = block.size();
        for (bool quoted = quoted_; last > 0; --last) {
            if (endsRecord(block[last - 1], quoted)) break;
        }
        open_ = block.size() - last + (last == 0 ? open_ : 0);
        return size;
    }

  private:
    static bool endsRecord(char c, bool& quoted) {
        if (c == '"') quoted = !quoted;
        return !quoted && (c == '\n' || c == '\r');
    }

    bool quoted_ = false;
    std::size_t open_ = 0;
};

/// Goes over the text and fills the columns that are not complete. libcsv is C: what its callbacks
/// find wrong is kept and thrown once it has returned.
class CsvPass {
  public:
    CsvPass(const std::string& file, std::string_view text, const CsvOptions& options,
            std::vector<ColumnBuilder>& columns, std::int64_t rowLimit)
        : file_(file), text_(text), options_(options), columns_(columns), rowLimit_(rowLimit) {
        csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI | CSV_REPALL_NL);
        csv_set_delim(&parser_, static_cast<unsigned char>(options.delimiter));
        csv_set_blk_size(&parser_, kBlock);
        const auto& missing = options.missing;
        emptyIsMissing_ = std::find(missing.begin(), missing.end(), "") != missing.end();
    }
    CsvPass(const CsvPass&) = delete;
    CsvPass& operator=(const CsvPass&) = delete;
    ~CsvPass() { csv_free(&parser_); }

    /// Returns the number of data rows read.
    std::int64_t run() {
        ProgressPhase phase("Reading", text_.size());
        const auto most = static_cast<std::size_t>(csvSettings().maxRecord);
        const std::size_t blockSize = std::min(kBlock, most);
        RecordSizes sizes;
        for (std::size_t done = 0; done < text_.size() && !finished(); done += blockSize) {
            const std::string_view block = text_.substr(done, blockSize);
            if (text_.size() > most && sizes.addBlock(block) > most) failLength(most);
            if (csv_parse(&parser_, block.data(), block.size(), onCell, onLineEnd, this) !=
                block.size()) {
                failParse();
            }
            phase.advance(block.size());
        }
        if (!finished() && csv_fini(&parser_, onCell, onLineEnd, this) != 0) failParse();
        if (!finished() && endsBlank()) onLineEnd(-1, this);
        if (error_) std::rethrow_exception(error_);
        return row_;
    }

    bool sawHeader() const { return headerDone_; }

  private:
    static constexpr std::size_t kBlock = 1U << 16U;
    static constexpr std::size_t kMostColumns = 1U << 20U;

    /// Whether blanks stand behind the last line end; these libcsv passes over in silence.
    bool endsBlank() const {
        const std::size_t lineEnd = text_.find_last_of("\r\n");
        return lineEnd + 1 < text_.size() && isBlank(text_.substr(lineEnd + 1), options_.delimiter);
    }

    bool finished() const { return error_ || row_ >= rowLimit_; }

    std::string place() const {
        return placeOf(text_, options_.delimiter, columns_.size(), headerDone_ ? row_ + 1 : 0);
    }

    [[noreturn]] void failLength(std::size_t most) const {
        throw UserError(file_ + ": " + place() + " is longer than the " + std::to_string(most) +
                        " bytes of --max-record; a row ends with its line unless a quotation "
                        "mark is open");
    }

    [[noreturn]] void failParse() {
        if (error_) std::rethrow_exception(error_);
        const int code = csv_error(&parser_);
        if (code == CSV_ENOMEM || code == CSV_ETOOBIG) throw std::bad_alloc();
        throw UserError(file_ + ": " + place() +
                        ": misplaced or unclosed quotation mark; a quoted cell begins and ends "
                        "with one, and has them doubled inside");
    }

    static void onCell(void* content, std::size_t size, void* self) {
        auto& pass = *static_cast<CsvPass*>(self);
        pass.guard(
            [&] { pass.addCell(std::string_view(static_cast<const char*>(content), size)); });
    }

    static void onLineEnd(int character, void* self) {
        auto& pass = *static_cast<CsvPass*>(self);
        pass.guard([&] { pass.endLine(character); });
    }

    template <class Work>
    void guard(Work work) {
        if (finished()) return;
        try {
            work();
        } catch (...) {
            error_ = std::current_exception();
        }
    }

    void addCell(std::string_view cell) {
        const std::size_t index = column_++;
        if (!headerDone_) return addName(index, cell);
        if (index >= columns_.size()) return;  // counted, and refused at the end of the row
        ColumnBuilder& column = columns_[index];
        if (column.complete || column.failed) return;
        const bool missing = isMissing(cell);
        if (column.isText) {
            column.addText(missing ? std::string_view() : cell, row_);
            return;
        }
        const std::optional<double> number =
            missing ? std::numeric_limits<double>::quiet_NaN() : Support::parseNumber(cell);
        if (number) {
            column.numbers.push_back(*number);
        } else {
            column.failed = true;
            column.numbers = Vector();
        }
    }

    /// Apart from `addCell`, which is small enough so for the compiler to put it into `onCell`.
    [[gnu::noinline]] void addName(std::size_t index, std::string_view name) {
        if (index >= kMostColumns) {
            throw UserError(file_ + ": " + place() + " has more than " +
                            std::to_string(kMostColumns) + " cells");
        }
        if (columns_.size() <= index) columns_.emplace_back();
        columns_[index].name = name;
    }

    bool isMissing(std::string_view cell) const {
        if (cell.empty()) return emptyIsMissing_;
        for (const std::string& text : options_.missing) {
            // The first characters tell most cells apart without a call.
            if (!text.empty() && text.front() == cell.front() && text == cell) return true;
        }
        return false;
    }

    /// A line without anything is a missing cell where a row has one cell only, and nothing
    /// elsewhere. Of CR LF the second is no line of its own.
    void endLine(int character) {
        const int before = std::exchange(lineEnd_, character);
        if (column_ == 0) {
            const bool isRow = headerDone_ && columns_.size() == 1;
            if (!isRow || (before == '\r' && character == '\n')) return;
            onCell(nullptr, 0, this);
        }
        endRow();
    }

    void endRow() {
        if (!headerDone_) {
            headerDone_ = true;
        } else if (column_ != columns_.size()) {
            throw UserError(file_ + ": " + place() + " has " + std::to_string(column_) +
                            " cells, the header has " + std::to_string(columns_.size()));
        } else {
            ++row_;
        }
        column_ = 0;
    }

    const std::string& file_;
    std::string_view text_;
    const CsvOptions& options_;
    std::vector<ColumnBuilder>& columns_;
    std::int64_t rowLimit_;
    csv_parser parser_{};
    bool emptyIsMissing_ = false;
    bool headerDone_ = false;
    std::size_t column_ = 0;
    std::int64_t row_ = 0;
    int lineEnd_ = 0;  // the character that ended the last line
    std::exception_ptr error_;
};

void checkNames(const std::string& file, const std::vector<ColumnBuilder>& columns) {
    std::unordered_set<std::string_view> names;
    for (std::size_t j = 0; j < columns.size(); ++j) {
        const std::string where = file + ": header, column " + std::to_string(j + 1);
        if (columns[j].name.empty()) throw UserError(where + " has no name");
        if (!names.insert(columns[j].name).second) {
            throw UserError(where + ": the name " + Tool::quoted(columns[j].name) +
                            " stands there a second time");
        }
    }
}

/// Number of rows, from above: each ends a line and has a byte a cell.
std::int64_t mostRows(std::string_view text, std::size_t columns) {
    const auto lines = 1 + std::max(std::count(text.begin(), text.end(), '\n'),
                                    std::count(text.begin(), text.end(), '\r'));
    return std::min<std::int64_t>(lines, static_cast<std::int64_t>(text.size() / columns) + 1);
}

void checkDelimiter(char delimiter) {
    if (std::string_view("\"\r\n\0", 4).find(delimiter) == std::string_view::npos) return;
    throw UserError("delimiter: a quotation mark, a line end and NUL cannot separate cells");
}

/// Reads all columns: their kinds from the first rows, everything in one pass over the file, and
/// columns whose first text comes late in another.
std::vector<ColumnBuilder> readColumns(const std::string& file, std::string_view text,
                                       const CsvOptions& options) {
    constexpr std::int64_t kFirstRows = 1000;
    constexpr std::int64_t kMostRows = std::numeric_limits<std::int32_t>::max();
    std::vector<ColumnBuilder> columns;
    CsvPass first(file, text, options, columns, kFirstRows);
    first.run();
    if (!first.sawHeader()) throw UserError(file + ": empty, expected a header row");
    checkNames(file, columns);

    for (ColumnBuilder& column : columns) {
        const auto& wanted = options.textColumns;
        column.isText = column.isText || options.allText ||
                        std::find(wanted.begin(), wanted.end(), column.name) != wanted.end();
    }
    const std::int64_t room = std::min(mostRows(text, columns.size()), kMostRows);
    for (ColumnBuilder& column : columns) column.restart(room);
    for (bool again = true; again;) {
        if (CsvPass(file, text, options, columns, kMostRows).run() >= kMostRows) {
            throw UserError(file + ": more rows than a table can hold");
        }
        again = false;
        for (ColumnBuilder& column : columns) {
            again = again || column.failed;
            if (column.failed) {
                column.restart(room);
            } else {
                column.complete = true;
            }
        }
    }
    return columns;
}

/// The finished column, moved into the frame.
void appendTo(DataFrame& frame, const std::string& file, std::string_view text,
              const CsvOptions& options, std::size_t columns, ColumnBuilder column) {
    const WString name = decode(column.name, [&] {
        return file + ": header, column " + std::to_string(frame.getNumCols() + 1);
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
            const std::int64_t row = column.firstRows[level] + 1;
            return file + ": " + placeOf(text, options.delimiter, columns, row) + ", column " +
                   Tool::quoted(column.name);
        }));
    }
    frame.append(name, std::move(column.codes), std::move(levels));
}

}  // namespace

DataFrame readCsv(const std::string& path, const CsvOptions& options) {
    const std::string file = oneLine(path);
    const std::string bytes = readText(path);
    checkDelimiter(options.delimiter);
    const std::string_view text = checkedText(file, bytes);
    std::vector<ColumnBuilder> columns = readColumns(file, text, options);
    DataFrame frame(
        decode(std::filesystem::path(path).stem().string(), [&] { return std::string(file); }));
    for (ColumnBuilder& column : columns) {
        appendTo(frame, file, text, options, columns.size(), std::move(column));
    }
    return frame;
}

}  // namespace Veltrix::Tool

#pragma once

#include <array>
#include <cstddef>
#include <exception>
#include <string>
#include <string_view>

#include "support/DecimalScan.h"

namespace Veltrix::Tool {

/// What is wrong with a record.
struct CsvFault : std::exception {
    enum class Kind { Quotation, Length };
    explicit CsvFault(Kind fault) : kind(fault) {}
    const char* what() const noexcept override { return "damaged record"; }
    Kind kind;
};

/// Goes over the cells of CSV text (RFC 4180; line ends LF, CR LF or CR). Blanks around cells are
/// dropped: spaces and tabs, unless they separate the cells. A cell in quotation marks holds what
/// stands between them, with two for one; elsewhere they are a fault.
///
///     while (scanner.nextRow()) {
///         do use(scanner.cell());
///         while (!scanner.rowEnded());
///     }
class CsvScanner {
  public:
    /// The text outlives the scanner. A record of more than `mostBytes` is a fault.
    CsvScanner(std::string_view text, char delimiter, std::size_t mostBytes)
        : next_(text.data()),
          end_(text.data() + text.size()),
          row_(next_),
          delimiter_(delimiter),
          mostBytes_(mostBytes) {
        for (const char c : {delimiter, '\n', '\r', '"'}) stops_[static_cast<unsigned char>(c)] = 1;
    }

    /// Goes to the next record, from the end of one; false when there is none. Lines of blanks
    /// only are passed over, or records of one empty cell with `blankRows`.
    bool nextRow(bool blankRows = false);

    /// The next cell, valid until the one after it is asked for. Throws `CsvFault`.
    std::string_view cell() {
        const char* start = skipBlanks(next_);
        if (start != end_ && *start == '"') return quotedCell(start + 1);
        const char* stop = start;
        while (stop != end_ && stops_[static_cast<unsigned char>(*stop)] == 0) ++stop;
        finish(stop);
        while (stop != start && isBlank(stop[-1])) --stop;
        return {start, static_cast<std::size_t>(stop - start)};
    }

    /// Reads the next cell when it is a decimal number of few digits, as nearly all are; stays
    /// before it otherwise.
    bool number(char point, double& value) {
        const char* stop = Support::scanDecimal(skipBlanks(next_), end_, point, value);
        if (stop == nullptr) return false;
        stop = skipBlanks(stop);
        if (stop != end_ && (stops_[static_cast<unsigned char>(*stop)] == 0 || *stop == '"')) {
            return false;
        }
        finish(stop);
        return true;
    }

    /// Whether the cell read last is the last one of its record.
    bool rowEnded() const { return rowEnded_; }
    /// Where the current record begins, and where the next cell or record does.
    const char* rowStart() const { return row_; }
    const char* position() const { return next_; }

  private:
    bool isBlank(char c) const { return (c == ' ' || c == '\t') && c != delimiter_; }

    const char* skipBlanks(const char* from) const {
        while (from != end_ && isBlank(*from)) ++from;
        return from;
    }

    /// Goes behind what ends a cell: a delimiter, a line end or the end of the text.
    void finish(const char* stop) {
        rowEnded_ = stop == end_ || *stop != delimiter_;
        next_ = !rowEnded_ ? stop + 1 : behindLineEnd(stop);
        if (stop != end_ && *stop == '"') throw CsvFault(CsvFault::Kind::Quotation);
        if (rowEnded_ && static_cast<std::size_t>(stop - row_) > mostBytes_) {
            throw CsvFault(CsvFault::Kind::Length);
        }
    }

    const char* behindLineEnd(const char* stop) const {
        if (stop == end_) return stop;
        return *stop == '\r' && stop + 1 != end_ && stop[1] == '\n' ? stop + 2 : stop + 1;
    }

    std::string_view quotedCell(const char* start);

    const char* next_;
    const char* end_;
    const char* row_;
    char delimiter_;
    bool rowEnded_ = true;
    std::size_t mostBytes_;
    std::array<char, 256> stops_{};
    std::string unquoted_;
};

}  // namespace Veltrix::Tool

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Veltrix::Tool {

/// How the cells of a CSV file are separated and its numbers are written.
struct CsvDialect {
    char delimiter = ',';
    char decimal = '.';
    /// Between groups of three digits; 0 for none.
    char thousands = 0;

    bool operator==(const CsvDialect&) const = default;
};

/// What is said about a dialect; the rest shows in the file.
struct CsvDialectHints {
    std::optional<char> delimiter = {};
    std::optional<char> decimal = {};
    std::optional<char> thousands = {};
};

/// The dialect that the first records of a text show. The delimiter is the one of comma, semicolon,
/// tab and bar that gives most records as many cells as the header, more than one; the earlier of
/// these when several do alike, and the comma when none does. Where it is no comma, numbers have a
/// decimal comma when some cells are such numbers and none has a decimal point; "1,234", which may
/// be a thousand, says nothing.
CsvDialect recogniseDialect(std::string_view text, const CsvDialectHints& hints);

/// "semicolons between cells, decimal comma"; empty for commas and points.
std::string dialectText(const CsvDialect& dialect);

/// The delimiter that a text names: one character, "tab", "comma", "semicolon", "bar" or "blank".
/// Nothing for what cannot separate cells: quotation marks, line ends, NUL.
std::optional<char> delimiterNamed(std::string_view name);

/// The number that a cell holds in the dialect, or nothing; see `Support::parseNumber`. Groups of
/// digits have three each, but for the first, and end at the decimal mark.
std::optional<double> parseNumber(std::string_view cell, const CsvDialect& dialect);

}  // namespace Veltrix::Tool

#include "tools/veltrix/io/CsvDialect.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "support/NumberText.h"
#include "tools/veltrix/io/CsvScanner.h"

namespace Veltrix::Tool {

namespace {

constexpr std::size_t kLooked = std::size_t{1} << 20U;  // bytes
constexpr std::size_t kRecords = 200;
constexpr std::array<std::pair<char, std::string_view>, 5> kDelimiters = {
    {{',', "comma"}, {';', "semicolon"}, {'\t', "tab"}, {'|', "bar"}, {' ', "blank"}}};

/// Calls `use(record, place, cell)` for the first records; what a wrong delimiter makes of
/// quotation marks ends them.
template <class Use>
void visitRecords(std::string_view text, char delimiter, Use use) {
    CsvScanner scanner(text, delimiter, text.size());
    try {
        for (std::size_t record = 0; record < kRecords && scanner.nextRow(); ++record) {
            int place = 0;
            do use(record, place++, scanner.cell());
            while (!scanner.rowEnded());
        }
    } catch (const CsvFault&) {
        return;
    }
}

/// Share of the records that have the cells of the header, 0 for a header of one cell. An empty
/// cell more at the end counts as none.
double agreement(std::string_view text, char delimiter) {
    std::array<int, kRecords> cells{};
    std::size_t records = 0;
    visitRecords(text, delimiter, [&](std::size_t record, int place, std::string_view cell) {
        records = record + 1;
        if (!cell.empty() || place < cells[0]) cells[record] = place + 1;
    });
    if (cells[0] < 2) return 0.0;
    return static_cast<double>(std::ranges::count(cells, cells[0])) / static_cast<double>(records);
}

char recogniseDelimiter(std::string_view text) {
    char best = ',';
    double most = 0.5;  // a separator that most records lack is none
    for (const char candidate : {',', ';', '\t', '|'}) {
        const double share = agreement(text, candidate);
        if (share <= most) continue;
        most = share;
        best = candidate;
    }
    return best;
}

/// Whether the cell is a number with a fraction behind the mark, and none with a group of digits
/// there, which "1,234" may be.
bool hasFraction(std::string_view cell, char mark) {
    if (std::ranges::count(cell, mark) != 1) return false;
    const std::size_t place = cell.find(mark);
    const bool group = cell.size() == place + 4 && place > 0 && cell[place - 1] != '0';
    return !group && parseNumber(cell, CsvDialect{.decimal = mark}).has_value();
}

char recogniseDecimal(std::string_view text, char delimiter, char thousands) {
    if (thousands == '.') return ',';
    if (thousands == ',' || delimiter == ',') return '.';
    bool commas = false;
    bool points = false;
    visitRecords(text, delimiter, [&](std::size_t record, int /*place*/, std::string_view cell) {
        if (record == 0) return;
        commas = commas || hasFraction(cell, ',');
        points = points || hasFraction(cell, '.');
    });
    return commas && !points ? ',' : '.';
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Takes the group marks out of the digits before the decimal mark or exponent; false when they do
/// not stand between groups of three.
bool dropGroups(std::string& number, const CsvDialect& dialect) {
    const std::size_t first = std::min(number.find_first_of("0123456789"), number.size());
    std::size_t last = first;
    while (last < number.size() && (isDigit(number[last]) || number[last] == dialect.thousands)) {
        ++last;
    }
    std::string digits;
    std::size_t group = 0;
    bool grouped = false;
    for (std::size_t k = first; k < last; ++k) {
        if (number[k] != dialect.thousands) {
            digits += number[k];
            ++group;
            continue;
        }
        if (grouped ? group != 3 : group > 3) return false;
        grouped = true;
        group = 0;
    }
    if (grouped && group != 3) return false;
    number.replace(first, last - first, digits);
    return number.find(dialect.thousands) == std::string::npos;
}

}  // namespace

CsvDialect recogniseDialect(std::string_view text, const CsvDialectHints& hints) {
    std::string_view start = text.substr(0, kLooked);
    if (start.size() < text.size()) start = start.substr(0, start.find_last_of("\r\n") + 1);
    CsvDialect dialect;
    dialect.delimiter = hints.delimiter ? *hints.delimiter : recogniseDelimiter(start);
    dialect.thousands = hints.thousands.value_or('\0');
    dialect.decimal = hints.decimal ? *hints.decimal
                                    : recogniseDecimal(start, dialect.delimiter, dialect.thousands);
    return dialect;
}

std::string dialectText(const CsvDialect& dialect) {
    std::string text;
    if (dialect.delimiter != ',') {
        const auto* const named = std::ranges::find(kDelimiters, dialect.delimiter,
                                                    [](const auto& d) { return d.first; });
        text = named == kDelimiters.end() ? std::string(1, dialect.delimiter)
                                          : std::string(named->second) + "s";
        text += " between cells";
    }
    if (dialect.decimal == ',') text += text.empty() ? "decimal comma" : ", decimal comma";
    return text;
}

std::optional<char> delimiterNamed(std::string_view name) {
    for (const auto& [character, word] : kDelimiters) {
        if (name == word) return character;
    }
    if (name == "\\t") return '\t';
    constexpr std::string_view kNone("\"\r\n\0", 4);
    if (name.size() != 1 || kNone.find(name.front()) != std::string_view::npos) return {};
    return name.front();
}

std::optional<double> parseNumber(std::string_view cell, const CsvDialect& dialect) {
    if (dialect.decimal == '.' && dialect.thousands == 0) return Support::parseNumber(cell);
    std::string number(cell);
    if (dialect.thousands != 0 && !dropGroups(number, dialect)) return {};
    if (dialect.decimal != '.') {
        if (number.find('.') != std::string::npos) return {};
        std::ranges::replace(number, dialect.decimal, '.');
    }
    return Support::parseNumber(std::string_view(number));
}

}  // namespace Veltrix::Tool

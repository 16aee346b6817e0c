#include "tools/veltrix/host/ItemColumns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {
namespace {

constexpr const char* kColumns = "--columns";

[[noreturn]] void failCell(const std::string& column, std::uint64_t row, std::string_view cell) {
    throw UserError(describeCell({kColumns, column}, static_cast<std::int64_t>(row) + 1, cell) +
                    ", expected 0, 1, yes or no");
}

/// Whether a number says that an item is there.
std::optional<bool> readNumber(double number) {
    if (std::isnan(number)) return false;
    const bool whole = std::trunc(number) == number && std::fabs(number) <= 2147483647.0;
    return whole ? std::optional(number != 0.0) : std::nullopt;
}

/// The same of a text.
std::optional<bool> readWord(const std::string& text) {
    constexpr std::array<std::string_view, 4> kYes{"yes", "y", "true", "t"};
    constexpr std::array<std::string_view, 5> kNo{"", "no", "n", "false", "f"};
    std::string word;
    for (const char c : text) {
        word += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    if (std::ranges::find(kYes, word) != kYes.end()) return true;
    if (std::ranges::find(kNo, word) != kNo.end()) return false;
    const std::optional<double> number = Support::parseNumber(std::string_view(word));
    return number ? readNumber(*number) : std::nullopt;
}

/// 1 for the transactions that hold the item.
IntVector readNumbers(const ConstDataFrameColumn& cells, const std::string& name,
                      std::int64_t& emptyCells) {
    IntVector held;
    const Vector numbers = cells.toDoubleVector();
    held.reserve(numbers.size());
    for (std::uint64_t i = 0; i < numbers.size(); ++i) {
        const std::optional<bool> there = readNumber(numbers[i]);
        if (!there) failCell(name, i, Support::numberText(numbers[i]));
        emptyCells += std::isnan(numbers[i]) ? 1 : 0;
        held.push_back(*there ? 1 : 0);
    }
    return held;
}

IntVector readWords(const ConstDataFrameColumn& cells, const std::string& name,
                    std::int64_t& emptyCells) {
    IntVector codes;
    const StringVector texts = cells.getTexts(codes);
    std::vector<std::optional<bool>> meanings;
    for (const WString& text : texts) meanings.push_back(readWord(text.toUtf8()));
    for (std::uint64_t i = 0; i < codes.size(); ++i) {
        const auto code = static_cast<std::size_t>(codes[i]);
        if (!meanings[code]) failCell(name, i, texts[code].toUtf8());
        emptyCells += texts[code].empty() ? 1 : 0;
        codes[i] = *meanings[code] ? 1 : 0;
    }
    return codes;
}

void checkDistinct(const std::vector<std::string>& names) {
    std::unordered_set<std::string_view> seen;
    for (const std::string& name : names) {
        if (seen.insert(name).second) continue;
        throw UserError(fmt::format("{}: {} is named twice", kColumns, Tool::quoted(name)));
    }
}

}  // namespace

ItemColumns readItemColumns(const std::string& path, const std::vector<std::string>& columns) {
    const DataFile file(path);
    std::vector<std::string> names = splitNames(file, columns);
    if (names.empty()) names = file.columnNames();
    checkDistinct(names);
    IntVector places;
    for (const std::string& name : names) places.push_back(file.columnIndex(kColumns, name));
    ItemColumns result;
    DataFrame items;
    for (const int place : places) {
        const auto cells = file.frame()(Selection::all, place);
        const std::string& name = file.columnNames()[static_cast<std::size_t>(place)];
        IntVector held = cells.getKind() == ColumnKind::text
                             ? readWords(cells, name, result.emptyCells)
                             : readNumbers(cells, name, result.emptyCells);
        held.setName(cells.getColName());
        items.append(std::move(held));
    }
    result.data = Engine::AR::Data(items);
    return result;
}

}  // namespace Veltrix::Tool

#include "tools/veltrix/host/RowChoice.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/TextParts.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kRows = "--rows";
constexpr const char* kWhere = "--where";

using Comparison = std::function<bool(double, double)>;

struct Operator {
    std::string_view sign;
    bool orders;
    Comparison holds;
};

/// Those of two characters before those that they begin with.
const std::array<Operator, 6>& operators() {
    static const std::array<Operator, 6> list = {{{"!=", false, std::not_equal_to<>()},
                                                  {"<=", true, std::less_equal<>()},
                                                  {">=", true, std::greater_equal<>()},
                                                  {"=", false, std::equal_to<>()},
                                                  {"<", true, std::less<>()},
                                                  {">", true, std::greater<>()}}};
    return list;
}

/// A column, an operator and a value.
struct Condition {
    std::string column;
    const Operator* comparison = nullptr;
    std::string value;
};

/// The operator at or behind a place of the text, and where.
const Operator* findOperator(std::string_view text, std::size_t& place) {
    for (; place < text.size(); ++place) {
        for (const Operator& candidate : operators()) {
            if (text.substr(place).starts_with(candidate.sign)) return &candidate;
        }
    }
    return nullptr;
}

/// Names may hold operators: the first one behind the name of a column counts.
Condition parse(const DataFile& data, const std::string& text) {
    Condition first;
    std::size_t place = 1;
    while (const Operator* const found = findOperator(text, place)) {
        const std::string_view value = std::string_view(text).substr(place + found->sign.size());
        Condition condition{trimmed(std::string_view(text).substr(0, place)), found,
                            trimmed(value)};
        if (data.hasColumn(condition.column)) return condition;
        if (first.comparison == nullptr) first = std::move(condition);
        place += found->sign.size();
    }
    if (first.comparison == nullptr) {
        throw UserError(fmt::format(
            "{}: {}, expected a column, one of = != < <= > >= and a value, as \"region=North\"",
            kWhere, Tool::quoted(text)));
    }
    data.columnIndex(kWhere, first.column);  // names what is nearest
    return first;
}

void applyCondition(const DataFile& data, const std::string& text, std::vector<char>& chosen) {
    const Condition condition = parse(data, text);
    const UsedColumn used{kWhere, condition.column};
    if (data.isText(kWhere, condition.column)) {
        if (condition.comparison->orders) {
            throw UserError(fmt::format("{}: column {} holds text, expected = or != in {}", kWhere,
                                        Tool::quoted(condition.column), Tool::quoted(text)));
        }
        const TypedColumn cells = readCategories(data, used);
        const bool equal = condition.comparison->holds(0.0, 0.0);
        std::vector<char> meets;
        for (const WString& level : cells.levels) {
            meets.push_back((level.toUtf8() == condition.value) == equal ? 1 : 0);
        }
        for (std::size_t i = 0; i < chosen.size(); ++i) {
            const int code = cells.codes[i];
            if (code < 0 || meets[static_cast<std::size_t>(code)] == 0) chosen[i] = 0;
        }
        return;
    }
    const std::optional<double> value = parseNumber(condition.value, data.dialect());
    if (!value) {
        throw UserError(fmt::format("{}: column {} holds numbers, expected one in {}", kWhere,
                                    Tool::quoted(condition.column), Tool::quoted(text)));
    }
    const Vector cells =
        data.frame()(Selection::all, data.columnIndex(kWhere, condition.column)).toDoubleVector();
    for (std::size_t i = 0; i < chosen.size(); ++i) {
        if (std::isnan(cells[i]) || !condition.comparison->holds(cells[i], *value)) chosen[i] = 0;
    }
}

std::optional<std::int64_t> rowNumber(std::string_view text) {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < 1) return {};
    return number;
}

/// Marks the rows of "5", "1-1000" or "2000-".
void markRange(const std::string& part, std::vector<char>& marked) {
    const std::size_t dash = part.find('-');
    const auto first = rowNumber(trimmed(std::string_view(part).substr(0, dash)));
    auto last = first;
    if (dash != std::string::npos) {
        const std::string end = trimmed(std::string_view(part).substr(dash + 1));
        last = end.empty() ? std::numeric_limits<std::int64_t>::max() : rowNumber(end);
    }
    if (!first || !last || *last < *first) {
        throw UserError(fmt::format("{}: {}, expected rows counted from 1, as 1-1000, 2000- or 7",
                                    kRows, Tool::quoted(part)));
    }
    const auto count = static_cast<std::int64_t>(marked.size());
    for (std::int64_t row = *first; row <= std::min(*last, count); ++row) {
        marked[static_cast<std::size_t>(row - 1)] = 1;
    }
}

}  // namespace

std::vector<char> chooseRows(const DataFile& data, const RowChoice& choice) {
    if (choice.rows.empty() && choice.conditions.empty()) return {};
    const auto count = static_cast<std::size_t>(data.numRows());
    std::vector<char> chosen(count, choice.rows.empty() ? 1 : 0);
    if (!choice.rows.empty()) {
        for (const std::string& part : splitAtCommas(choice.rows)) markRange(part, chosen);
    }
    for (const std::string& condition : choice.conditions) {
        applyCondition(data, condition, chosen);
    }
    if (std::ranges::count(chosen, 1) == 0) {
        throw UserError(fmt::format("{}: none of the {} of {} is chosen",
                                    choice.rows.empty() ? kWhere : kRows,
                                    counted(data.numRows(), "row"), Tool::quoted(data.path())));
    }
    return chosen;
}

}  // namespace Veltrix::Tool

#include "tools/veltrix/host/TextColumns.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <unordered_set>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

std::optional<std::string> slipNote(const ConstDataFrameColumn& cells, const std::string& name) {
    IntVector codes;
    const StringVector levels = cells.getLevels(codes);
    enum class Content : char { Missing, Number, Text };
    std::vector<Content> contents;
    for (const WString& level : levels) {
        contents.push_back(level.empty()                        ? Content::Missing
                           : Support::parseNumber(level.view()) ? Content::Number
                                                                : Content::Text);
    }
    std::int64_t balance = 0;  // numbers less texts
    std::optional<std::uint64_t> first;
    for (std::uint64_t row = 0; row < codes.size(); ++row) {
        const Content content = contents[static_cast<std::size_t>(codes[row])];
        if (content == Content::Number) ++balance;
        if (content != Content::Text) continue;
        --balance;
        if (!first) first = row;
    }
    if (!first || balance < 0) return std::nullopt;
    const WString& slip = levels[static_cast<std::uint64_t>(codes[*first])];
    return fmt::format("column {} is text: row {} holds {}", Tool::quoted(name), *first + 1,
                       Tool::quoted(slip.toUtf8()));
}

}  // namespace

TextColumns describeTextColumns(const DataFile& data, const RowSelection& selection,
                                const std::string& option) {
    std::vector<std::string> names;
    std::string list;
    for (const TypedColumn& column : selection.columns) {
        const UsedColumn& used = column.used;
        if (!used.categories || used.option != option) continue;
        if (!data.isText(option, used.name)) continue;
        names.push_back(used.name);
        const std::unordered_set<int> occurring(column.codes.begin(), column.codes.end());
        list += fmt::format("{}{} ({})", list.empty() ? "" : ", ", used.name,
                            counted(static_cast<std::int64_t>(occurring.size()), "level"));
    }
    if (names.empty()) return {};
    return {std::move(list), slipNotes(data, names)};
}

std::vector<std::string> slipNotes(const DataFile& data, const std::vector<std::string>& names) {
    std::vector<std::string> notes;
    for (const std::string& name : names) {
        if (!data.isText("--data", name)) continue;
        const int index = data.columnIndex("--data", name);
        auto note = slipNote(data.frame()(Selection::all, index), name);
        if (note) notes.push_back(std::move(*note));
    }
    return notes;
}

}  // namespace Veltrix::Tool

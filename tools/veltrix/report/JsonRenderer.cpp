#include "tools/veltrix/report/JsonRenderer.h"

#include <type_traits>

#include "support/Json.h"

namespace Veltrix::Tool {

namespace {

/// An empty text says nothing either.
void writeCell(Support::JsonWriter& writer, const Cell& cell) {
    std::visit(
        [&](const auto& content) {
            if constexpr (std::is_same_v<std::decay_t<decltype(content)>, std::monostate>) {
                writer.null();
            } else if constexpr (std::is_same_v<std::decay_t<decltype(content)>,
                                                std::string_view>) {
                content.empty() ? writer.null() : writer.value(content);
            } else {
                writer.value(content);
            }
        },
        cell);
}

void writeTable(Support::JsonWriter& writer, const Table& table) {
    writer.beginObject().member("title", table.title);
    writer.key("columns").beginArray();
    for (const Column& column : table.columns) writer.value(column.heading);
    writer.endArray().key("rows").beginArray();
    for (std::size_t i = 0; i < table.numRows(); ++i) {
        writer.beginArray();
        for (const Column& column : table.columns) writeCell(writer, column.cell(i));
        writer.endArray();
    }
    writer.endArray().member("notes", table.notes).endObject();
}

}  // namespace

std::string renderJson(const Report& report) {
    Support::JsonWriter writer;
    writer.beginObject().member("title", report.title).key("tables").beginArray();
    for (const Table& table : report.tables) writeTable(writer, table);
    writer.endArray().endObject();
    return writer.take() + "\n";
}

}  // namespace Veltrix::Tool

#include "bigdata/Table.h"

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>

#include "support/JsonParser.h"
#include "support/NumberText.h"

namespace BigData {

namespace {

using Veltrix::DataFrame;
using Veltrix::IntVector;
using Veltrix::StringVector;
using Veltrix::Vector;
using Veltrix::WString;
using Veltrix::Support::JsonError;
using Veltrix::Support::JsonKind;
using Veltrix::Support::JsonNode;
using Veltrix::Support::JsonStore;
using Veltrix::Support::JsonView;

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();
constexpr const char* kRowID = "Row ID";

enum class Content : std::uint8_t { Numbers, Text, Unknown };

/// What columns of a type of Spark hold; decimals carry their precision in brackets.
Content contentOf(const std::string& type) {
    static constexpr std::array<std::string_view, 11> kNumbers = {
        "double", "float", "integer",  "int",     "long",   "bigint",
        "short",  "byte",  "smallint", "tinyint", "decimal"};
    if (type.empty()) return Content::Unknown;
    std::string plain = type.substr(0, type.find('('));
    if (plain.ends_with("Type")) plain.resize(plain.size() - 4);
    if (!plain.empty() && plain[0] >= 'A' && plain[0] <= 'Z') {
        plain[0] = static_cast<char>(plain[0] - 'A' + 'a');
    }
    for (const std::string_view number : kNumbers) {
        if (plain == number) return Content::Numbers;
    }
    return Content::Text;
}

/// The cells of a column, one under the other.
class Column {
  public:
    Column(const JsonStore& store, std::span<const JsonNode> rows, std::size_t place)
        : store_(store), rows_(rows), place_(place) {}

    std::size_t size() const { return rows_.size(); }
    const JsonNode& operator[](std::size_t row) const {
        return store_.nodes[rows_[row].natural + place_];
    }
    bool isMissing(std::size_t row) const {
        const JsonNode& cell = (*this)[row];
        return cell.kind == JsonKind::Null || (cell.kind == JsonKind::Text && cell.size == 0);
    }

    /// The number in a cell; NaN in a missing one.
    std::optional<double> number(std::size_t row) const {
        const JsonNode& cell = (*this)[row];
        switch (cell.kind) {
            case JsonKind::Null:
                return kMissing;
            case JsonKind::Double:
                return cell.number;
            case JsonKind::Integer:
                return static_cast<double>(cell.integer);
            case JsonKind::Natural:
                return static_cast<double>(cell.natural);
            case JsonKind::Text:
                if (cell.size == 0) return kMissing;
                return Veltrix::Support::parseNumber(store_.text(cell));
            default:
                return std::nullopt;
        }
    }

    /// A text as it stands, nothing for null, the JSON text of anything else. `buffer` holds the
    /// latter until the next call.
    std::string_view text(std::size_t row, std::string& buffer) const {
        const JsonNode& cell = (*this)[row];
        switch (cell.kind) {
            case JsonKind::Null:
                return {};
            case JsonKind::Text:
                return store_.text(cell);
            case JsonKind::Double:
                buffer = Veltrix::Support::numberText(cell.number);
                return buffer;
            default:
                buffer = Veltrix::Support::jsonText(store_, cell);
                return buffer;
        }
    }

  private:
    const JsonStore& store_;
    std::span<const JsonNode> rows_;
    std::size_t place_;
};

/// The column as numbers; nothing when a cell is none or all are missing.
std::optional<Vector> asNumbers(const Column& column) {
    Vector values(column.size());
    bool isMissing = true;
    for (std::size_t row = 0; row < column.size(); ++row) {
        const std::optional<double> value = column.number(row);
        if (!value) return std::nullopt;
        values[row] = *value;
        isMissing = isMissing && column.isMissing(row);
    }
    if (isMissing && column.size() > 0) return std::nullopt;
    return values;
}

Vector requireNumbers(const Column& column, const std::string& name) {
    Vector values(column.size());
    std::string buffer;
    for (std::size_t row = 0; row < column.size(); ++row) {
        const std::optional<double> value = column.number(row);
        if (!value) {
            throw JsonError("Column \"" + name + "\", row " + std::to_string(row + 1) + ": \"" +
                            std::string(column.text(row, buffer)) + "\" is no number");
        }
        values[row] = *value;
    }
    return values;
}

void appendText(DataFrame& frame, const WString& name, const Column& column) {
    IntVector codes(column.size());
    StringVector levels;
    std::unordered_map<std::string, int> codeOf;
    std::string buffer;
    std::string key;
    for (std::size_t row = 0; row < column.size(); ++row) {
        key = column.text(row, buffer);
        const auto [entry, isNew] = codeOf.try_emplace(key, static_cast<int>(levels.size()));
        if (isNew) levels.push_back(WString::fromUtf8(key));
        codes[row] = entry->second;
    }
    frame.append(name, std::move(codes), std::move(levels));
}

void appendColumn(DataFrame& frame, const ColumnDescription& described, const Column& column) {
    const WString name = WString::fromUtf8(described.name);
    const Content content = contentOf(described.type);
    std::optional<Vector> numbers;
    if (content == Content::Numbers) numbers = requireNumbers(column, described.name);
    if (content == Content::Unknown) numbers = asNumbers(column);
    if (!numbers) {
        appendText(frame, name, column);
        return;
    }
    numbers->setName(name);
    frame.append(std::move(*numbers));
}

/// Cells of every row; 0 without rows.
std::size_t widthOf(const JsonView& rows, std::span<const JsonNode> nodes) {
    if (nodes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        rows.fail("more rows than a frame can hold");
    }
    for (std::size_t row = 0; row < nodes.size(); ++row) {
        if (nodes[row].kind != JsonKind::Array) {
            rows.fail("row " + std::to_string(row + 1) + " is no array");
        }
        if (nodes[row].size != nodes.front().size) {
            rows.fail("row " + std::to_string(row + 1) + " has " + std::to_string(nodes[row].size) +
                      " cells, the first row " + std::to_string(nodes.front().size));
        }
    }
    return nodes.empty() ? 0 : nodes.front().size;
}

/// A description for each cell of a row.
void completeDescriptions(const JsonView& rows, std::size_t width, bool hasRowIDs,
                          std::vector<ColumnDescription>& columns) {
    if (hasRowIDs && width == columns.size() + 1) {
        columns.insert(columns.begin(), ColumnDescription{kRowID, {}});
    }
    if (width < columns.size() || (width > columns.size() && !columns.empty())) {
        rows.fail("rows of " + std::to_string(width) + " cells, " + std::to_string(columns.size()) +
                  " columns described");
    }
    while (columns.size() < width) {
        columns.push_back({"column" + std::to_string(columns.size() + 1), {}});
    }
}

}  // namespace

std::vector<ColumnDescription> readDescriptions(const JsonView& entries,
                                                const std::vector<ColumnDescription>& known) {
    std::vector<ColumnDescription> columns;
    const std::int64_t size = entries.size();
    for (std::int64_t k = 0; k < size; ++k) {
        const JsonView entry = entries.at(k);
        if (entry.isArray()) {
            const auto part = [&](std::int64_t i) {
                return i < entry.size() ? entry.at(i).asString() : std::string();
            };
            columns.push_back({part(0), part(1)});
            continue;
        }
        ColumnDescription column{entry.asString(), {}};
        for (const ColumnDescription& other : known) {
            if (other.name == column.name) column.type = other.type;
        }
        columns.push_back(std::move(column));
    }
    return columns;
}

DataFrame descriptionTable(const std::vector<ColumnDescription>& columns, const WString& name) {
    StringVector names;
    StringVector types;
    for (const ColumnDescription& column : columns) {
        names.push_back(WString::fromUtf8(column.name));
        types.push_back(WString::fromUtf8(column.type));
    }
    DataFrame table(name);
    table.append(names, L"Column");
    table.append(types, L"Type");
    return table;
}

DataFrame readRows(const JsonView& rows, std::vector<ColumnDescription> columns, bool hasRowIDs,
                   const WString& name) {
    static_cast<void>(rows.size());  // an array
    const JsonStore& store = rows.store();
    const std::span<const JsonNode> nodes = store.parts(rows.node());
    const std::size_t width = widthOf(rows, nodes);
    if (!nodes.empty()) completeDescriptions(rows, width, hasRowIDs, columns);
    DataFrame frame(name);
    for (std::size_t place = 0; place < columns.size(); ++place) {
        appendColumn(frame, columns[place], Column(store, nodes, place));
    }
    return frame;
}

}  // namespace BigData

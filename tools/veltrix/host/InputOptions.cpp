#include "tools/veltrix/host/InputOptions.h"

#include <string>

#include "tools/veltrix/host/RowChoice.h"
#include "tools/veltrix/io/CsvSettings.h"

namespace Veltrix::Tool {

void declareInput(OptionGroup& options) {
    const Choices<Encoding> encodings{
        {"utf-8", Encoding::Utf8}, {"utf-16", Encoding::Utf16}, {"latin-1", Encoding::Latin1}};
    CsvSettings& settings = csvSettings();
    options.choice("--encoding", settings.encoding,
                   "How files write characters; utf-8 goes for UTF-16 with a byte order mark too",
                   encodings);
    options
        .delimiter("--delimiter", settings.dialect.delimiter,
                   "What stands between cells: a character, or comma, semicolon, tab, bar, blank")
        .shown("recognised");
    options
        .mark("--decimal", settings.dialect.decimal, "Decimal mark of numbers: a point or a comma",
              ".,")
        .shown("recognised");
    options.mark("--thousands", settings.dialect.thousands,
                 "What stands between groups of three digits, as in 1,234,567", ",.' ");
    options
        .texts("--missing", settings.missing,
               "Texts that stand for missing values, with empty cells")
        .shown("NA");
    options.list("--exclude", settings.excluded, "Columns to pass over");
    options
        .count("--max-record", settings.maxRecord,
               "Bytes that a row of a CSV file may have, quoted line ends included", 1)
        .placeholder("BYTES")
        .shown(std::to_string(settings.maxRecord));
}

void declareRowChoice(OptionGroup& options) {
    RowChoice& choice = rowChoice();
    options.text("--rows", choice.rows, "Data rows to use, counted from 1, as 1-1000,2000-")
        .placeholder("RANGES");
    options
        .repeated("--where", choice.conditions,
                  "Rows to use, as region=North or age>=30 (= != < <= > >=); repeated for those "
                  "that meet all")
        .placeholder("CONDITION");
}

void addDialect(Table& summary, const CsvDialect& dialect) {
    const std::string text = dialectText(dialect);
    if (!text.empty()) summary.entry("File format", text);
}

}  // namespace Veltrix::Tool

#include "tools/veltrix/host/Documents.h"

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/StringVector.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/RowChoice.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvSettings.h"
#include "tools/veltrix/io/Encoding.h"
#include "tools/veltrix/io/TextLines.h"

namespace Veltrix::Tool {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRow = "Row";
constexpr const char* kDocument = "Document";

std::string toText(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

[[noreturn]] void failFolder(const FileOption& folder, const std::string& problem) {
    throw UserError(fmt::format("{}: {} {}", folder.option, Tool::quoted(folder.path), problem));
}

/// The files that are documents, in order.
std::vector<std::string> filesIn(const FileOption& folder) {
    const fs::path path(std::u8string(folder.path.begin(), folder.path.end()));
    std::error_code error;
    if (!fs::is_directory(path, error)) failFolder(folder, "is no folder");
    std::vector<std::string> names;
    for (fs::directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const std::string name = toText(entry->path().filename());
        if (name.front() != '.' && entry->is_regular_file(ignored)) names.push_back(name);
    }
    if (error) failFolder(folder, "cannot be read: " + error.message());
    if (names.empty()) failFolder(folder, "holds no files, expected one for each document");
    std::ranges::sort(names);
    return names;
}

Documents readFolder(const DocumentSource& source) {
    if (!source.column.empty()) {
        throw UserError(fmt::format("{}: given with {}, whose files are documents as a whole",
                                    DocumentSource::kColumn, source.folder.option));
    }
    if (!rowChoice().rows.empty() || !rowChoice().conditions.empty()) {
        throw UserError(fmt::format("{}: --rows and --where choose rows of {}, not files",
                                    source.folder.option, source.data.option));
    }
    Documents documents;
    documents.names = filesIn(source.folder);
    StringVector texts;
    texts.reserve(documents.names.size());
    ProgressPhase phase("Reading", documents.names.size());
    for (const std::string& name : documents.names) {
        const std::string path = source.folder.path + "/" + name;
        const std::string file = oneLine(path);
        try {
            const std::string text = toUtf8Text(file, readText(path), csvSettings().encoding);
            texts.push_back(WString::fromUtf8(text));
        } catch (const UserError& error) {
            throw UserError(fmt::format("{}: {}", source.folder.option, error.what()));
        }
        phase.advance();
    }
    documents.texts.append(texts, L"Text");
    return documents;
}

Documents readColumn(const DocumentSource& source) {
    if (source.column.empty()) {
        throw UserError(fmt::format("{}: not given, expected the column of {} with the documents",
                                    DocumentSource::kColumn, source.data.option));
    }
    CsvOptions options;
    options.missing.clear();
    options.textColumns = {source.column};
    const DataFile file(source.data.path, options);
    const int place = file.columnIndex(DocumentSource::kColumn, source.column);
    Documents documents;
    documents.rowsRead = file.numRows();
    documents.dialect = file.dialect();
    IntVector codes;
    const StringVector levels = file.frame()(Selection::all, place).getTexts(codes);
    StringVector texts;
    for (std::uint64_t i = 0; i < codes.size(); ++i) {
        if (!file.isChosen(static_cast<std::size_t>(i))) continue;
        texts.push_back(levels[codes[i]]);
        documents.rowNumbers.push_back(static_cast<std::int64_t>(i) + 1);
    }
    documents.texts.append(texts, WString::fromUtf8(source.column));
    return documents;
}

}  // namespace

void DocumentSource::declare(OptionGroup& options) {
    options.file(folder, "Folder with a file for each document, in place of a CSV file")
        .placeholder("FOLDER")
        .excludes(data.option);
    options.column(kColumn, column, "Column of the CSV file that holds the documents");
}

void Documents::addTo(Table& table, const std::vector<std::size_t>& documents) const {
    const auto chosen = [&](const auto& list) {
        auto values = list;
        values.clear();
        for (const std::size_t document : documents) values.push_back(list[document]);
        return values;
    };
    if (names.empty()) {
        table.integers(kRow, chosen(rowNumbers));
    } else {
        table.text(kDocument, chosen(names));
    }
}

void Documents::addTo(Table& table) const {
    if (names.empty()) {
        table.integers(kRow, rowNumbers);
    } else {
        table.text(kDocument, names);
    }
}

DataFrame Documents::frame(const std::vector<std::size_t>& documents) const {
    DataFrame result;
    Vector rows;
    StringVector files;
    for (const std::size_t document : documents) {
        if (names.empty()) {
            rows.push_back(static_cast<double>(rowNumbers[document]));
        } else {
            files.push_back(WString::fromUtf8(names[document]));
        }
    }
    if (names.empty()) {
        rows.setName(WString::fromUtf8(kRow));
        result.append(rows);
    } else {
        result.append(files, WString::fromUtf8(kDocument));
    }
    return result;
}

Documents readDocuments(const DocumentSource& source) {
    return source.data.path.empty() ? readFolder(source) : readColumn(source);
}

}  // namespace Veltrix::Tool

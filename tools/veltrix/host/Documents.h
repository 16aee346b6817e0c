#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/io/CsvDialect.h"
#include "tools/veltrix/io/Encoding.h"
#include "tools/veltrix/report/Report.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// Where documents come from: a column of a CSV file, or the files of a folder.
struct DocumentSource {
    static constexpr const char* kColumn = "--column";

    FileOption data{"--data", {}};
    FileOption folder{"--documents", {}};
    std::string column;

    /// Declares --documents and --column.
    void declare(OptionGroup& options);
    /// The option that was given, that of the folder when none was.
    const FileOption& given() const { return data.path.empty() ? folder : data; }
};

/// Documents in their order, and what they are called.
struct Documents {
    DataFrame texts;                       ///< one column
    std::vector<std::int64_t> rowNumbers;  ///< in the file, counted from 1; empty for a folder
    std::vector<std::string> names;        ///< of the files; empty for a column
    std::int64_t rowsRead = 0;
    CsvDialect dialect;

    std::size_t size() const { return static_cast<std::size_t>(texts.getNumRows()); }
    auto column() const { return texts(Selection::all, 0); }
    /// Appends a column that says which document a row is about: the ones given, counted from 0.
    void addTo(Table& table, const std::vector<std::size_t>& documents) const;
    void addTo(Table& table) const;
    /// The same as a frame for a file.
    DataFrame frame(const std::vector<std::size_t>& documents) const;
};

/// Reads the documents. The cells of the column are taken as they stand, the empty ones as empty
/// documents. In the folder every file that is no folder and whose name does not begin with a point
/// is a document, in the order of the names' bytes; packed ones (gzip) are unpacked. Throws
/// `UserError` for what cannot be read, a folder without files, and a column that was not named or
/// does not exist.
Documents readDocuments(const DocumentSource& source);

}  // namespace Veltrix::Tool

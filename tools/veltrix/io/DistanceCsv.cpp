#include "tools/veltrix/io/DistanceCsv.h"

#include <cmath>
#include <cstdint>

#include <fmt/format.h>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Util.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvReader.h"

namespace Veltrix::Tool {

namespace {

/// A table of distances and how to speak of its cells.
struct Cells {
    std::string file;  ///< the option and the file
    std::vector<std::string> names;
    Matrix distances;

    /// "row 3, column "Lyons" holds 5".
    std::string at(int i, int j) const {
        return fmt::format("row {}, column {} holds {}", i + 1,
                           Tool::quoted(names[static_cast<std::size_t>(j)]),
                           Support::numberText(distances(i, j)));
    }
    [[noreturn]] void fail(const std::string& problem) const {
        throw UserError(file + ": " + problem);
    }
};

Cells readCells(const std::string& option, const std::string& path) {
    DataFrame frame;
    try {
        frame = readCsv(path).frame;
    } catch (const UserError& error) {
        throw UserError(option + ": " + error.what());
    }
    Cells cells{.file = option + ": " + Tool::quoted(path), .names = {}, .distances = {}};
    const int n = frame.getNumRows();
    const int first = frame.getNumCols() == n + 1 ? 1 : 0;
    if (frame.getNumCols() != n + first) {
        cells.fail(fmt::format("{} and {}, expected as many of both, or one column of names more",
                               counted(n, "row"), counted(frame.getNumCols(), "column")));
    }
    cells.distances = Matrix(n, n);
    for (int j = 0; j < n; ++j) {
        cells.names.push_back(frame.getColName(first + j).toUtf8());
        const auto column = frame(Selection::all, first + j);
        if (column.getKind() == ColumnKind::text) {
            for (int i = 0; i < n; ++i) {
                const WString text = column(i).toString();
                if (text.empty() || Support::parseNumber(text.view())) continue;
                cells.fail(fmt::format("row {}, column {} holds {}, expected a number", i + 1,
                                       Tool::quoted(cells.names.back()),
                                       Tool::quoted(text.toUtf8())));
            }
        }
        cells.distances(Selection::all, j) = column.toDoubleVector();
    }
    return cells;
}

void check(const Cells& cells) {
    const Matrix& d = cells.distances;
    for (int i = 0; i < d.getNumRows(); ++i) {
        for (int j = 0; j < d.getNumRows(); ++j) {
            if (!std::isfinite(d(i, j)) || d(i, j) < 0.0) {
                cells.fail(cells.at(i, j) + ", expected a finite number of at least 0");
            }
        }
    }
    for (int i = 0; i < d.getNumRows(); ++i) {
        if (!Util::isZero(d(i, i))) cells.fail(cells.at(i, i) + ", expected 0 on the diagonal");
        for (int j = 0; j < i; ++j) {
            if (Util::equal(d(i, j), d(j, i))) continue;
            cells.fail(cells.at(i, j) + " but " + cells.at(j, i) + ", expected equal distances");
        }
    }
}

}  // namespace

NamedDistances readDistances(const std::string& option, const std::string& path) {
    Cells cells = readCells(option, path);
    check(cells);
    return {std::move(cells.names), std::move(cells.distances)};
}

}  // namespace Veltrix::Tool

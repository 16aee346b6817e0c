#include "tools/veltrix/families/KMeansCommand.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "support/NumberText.h"
#include "tools/veltrix/families/KMeansReport.h"
#include "tools/veltrix/families/StoredKMeans.h"
#include "tools/veltrix/host/ColumnRoles.h"
#include "tools/veltrix/host/ModelFile.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/TextColumns.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kColumns = "--columns";
constexpr const char* kClusters = "--clusters";

/// Squares of larger values overflow in sums over many rows.
constexpr double kLargest = 1e150;

bool isText(const DataFile& data, const std::string& name) {
    const int index = data.columnIndex(kColumns, name);
    return data.frame()(Selection::all, index).getKind() == ColumnKind::text;
}

std::vector<std::string> textColumns(const DataFile& data) {
    std::vector<std::string> names = data.columnNames();
    std::erase_if(names, [&](const std::string& name) { return !isText(data, name); });
    return names;
}

std::vector<std::string> numericColumns(const DataFile& data) {
    std::vector<std::string> names = data.columnNames();
    std::erase_if(names, [&](const std::string& name) { return isText(data, name); });
    if (!names.empty()) return names;
    throw UserError(fmt::format("{}: {} has no column of numbers, expected at least one", kColumns,
                                Tool::quoted(data.path())));
}

void checkSizes(const NumericSelection& selection) {
    for (std::size_t j = 0; j < selection.columns.size(); ++j) {
        const Vector& values = selection.columns[j];
        const auto large =
            std::ranges::find_if(values, [](double x) { return std::fabs(x) > kLargest; });
        if (large == values.end()) continue;
        const auto row = static_cast<std::size_t>(large - values.begin());
        throw UserError(describeCell(selection.used[j], selection.rowNumbers[row],
                                     Support::numberText(*large)) +
                        fmt::format(", expected a number from {} to {}", -kLargest, kLargest));
    }
}

}  // namespace

void KMeansCommand::declare(CLI::App& app) {
    declareFile(app, data_, "CSV file with a header row", true);
    app.add_option(kColumns, columns_,
                   "Columns that make rows similar, separated by commas; may be repeated, also for "
                   "a name that holds a comma. All columns of numbers when left out")
        ->allow_extra_args(false)
        ->type_name("A,B");
    declareCount(app, kClusters, clusters_, "Number of clusters", 1)->required();
    declareCount(app, "--iterations", iterations_, "Most updates of the centroids")
        ->type_name("N")
        ->default_str(std::to_string(iterations_));
    declareCount(app, "--starts", starts_, "Random starts to try; the best one is used", 1)
        ->type_name("S")
        ->default_str(std::to_string(starts_));
    declareSeed(app, seed_);
    output_.declare(app);
    declareFile(app, save_, "Stores the clusters for veltrix predict (JSON)", false);
}

NumericSelection KMeansCommand::select(const DataFile& data) const {
    const std::vector<std::string> names =
        columns_.empty() ? numericColumns(data) : choosePredictors(data, kColumns, columns_, {});
    std::vector<UsedColumn> used;
    used.reserve(names.size());
    const std::string option = columns_.empty() ? data_.option : kColumns;
    for (const std::string& name : names) used.push_back({option, name});
    NumericSelection selection = selectNumeric(data, used);
    checkRowsLeft(selection);
    checkSizes(selection);
    if (clusters_ > selection.rowsUsed()) {
        throw UserError(fmt::format("{}: {}, expected at most the number of rows used, {}",
                                    kClusters, clusters_, selection.rowsUsed()));
    }
    return selection;
}

void KMeansCommand::run() {
    output_.checkFiles({data_}, {save_});
    Progress progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path);
    const NumericSelection selection = select(data);

    progress.stage("Finding the clusters");
    const Matrix x = matrixOf(selection);
    StoredKMeans stored;
    stored.setTarget("clusters");
    for (const UsedColumn& column : selection.used) stored.columns.push_back(column.name);
    stored.model.setParams({starts_, clusters_, iterations_, static_cast<std::int32_t>(seed_)});
    stored.model.fit(x);

    const std::vector<std::string> leftOut =
        columns_.empty() ? textColumns(data) : std::vector<std::string>{};
    const KMeansTask task{data_.path, selection, seed_, fmt::format("{}", fmt::join(leftOut, ", ")),
                          slipNotes(data, leftOut)};
    const Report report = kMeansReport(task, stored.model, stored.model.predict(x));
    progress.stage("Writing");
    output_.deliver(report, {{save_, save_.path.empty() ? "" : writeModel(stored)}});
}

}  // namespace Veltrix::Tool

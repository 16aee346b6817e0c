#include "tools/veltrix/KMeansCommand.h"

#include <algorithm>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "Veltrix/Engine/KMC.h"
#include "tools/veltrix/ColumnRoles.h"
#include "tools/veltrix/KMeansReport.h"
#include "tools/veltrix/Progress.h"
#include "tools/veltrix/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kColumns = "--columns";
constexpr const char* kClusters = "--clusters";

std::vector<std::string> numericColumns(const DataFile& data) {
    std::vector<std::string> names = data.columnNames();
    std::erase_if(names, [&](const std::string& name) {
        const int index = data.columnIndex(kColumns, name);
        return data.frame()(Selection::all, index).getKind() == ColumnKind::text;
    });
    if (!names.empty()) return names;
    throw UserError(fmt::format("{}: {} has no column of numbers, expected at least one", kColumns,
                                Tool::quoted(data.path())));
}

Matrix matrixOf(const NumericSelection& selection) {
    Matrix x;
    for (const Vector& column : selection.columns) x.appendColumn(column);
    return x;
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
}

NumericSelection KMeansCommand::select(const DataFile& data) const {
    const std::vector<std::string> names =
        columns_.empty() ? numericColumns(data) : choosePredictors(data, kColumns, columns_, {});
    std::vector<UsedColumn> used;
    used.reserve(names.size());
    for (const std::string& name : names) used.push_back({kColumns, name});
    NumericSelection selection = selectNumeric(data, used);
    checkRowsLeft(selection);
    if (clusters_ > selection.rowsUsed()) {
        throw UserError(fmt::format("{}: {}, expected at most the number of rows used, {}",
                                    kClusters, clusters_, selection.rowsUsed()));
    }
    return selection;
}

void KMeansCommand::run() {
    output_.checkFiles({data_});
    Progress progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path);
    const NumericSelection selection = select(data);

    progress.stage("Finding the clusters");
    const Matrix x = matrixOf(selection);
    Engine::KMC::Model model({starts_, clusters_, iterations_, static_cast<std::int32_t>(seed_)});
    model.fit(x);

    const Report report = kMeansReport({data_.path, selection, seed_}, model, model.predict(x));
    progress.stage("Writing");
    output_.deliver(report);
}

}  // namespace Veltrix::Tool

#include "tools/veltrix/families/AcfCommand.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

namespace {

using Engine::TS::ARIMA::Data;

constexpr const char* kColumn = "--column";

/// Positions in the table of lags; the charts point at them.
enum LagColumn : std::size_t { Lag, Autocovariance, Acf, Pacf, Lower, Upper };

/// The values of the rows from the first to the last that has one. Lags count rows, so none may be
/// missing in between.
NumericSelection readSeries(const DataFile& data, const std::string& column) {
    NumericSelection selection = selectNumeric(data, {{kColumn, column}});
    const std::vector<std::int64_t>& rows = selection.rowNumbers;
    if (rows.empty()) {
        throw UserError(fmt::format("{}: column {} holds no value, expected a series", kColumn,
                                    Tool::quoted(column)));
    }
    const auto gap = std::ranges::adjacent_find(
        rows, [](std::int64_t row, std::int64_t next) { return next != row + 1; });
    if (gap != rows.end()) {
        throw UserError(
            fmt::format("{}: column {}, row {} holds no value, expected a series "
                        "without gaps",
                        kColumn, Tool::quoted(column), *gap + 1));
    }
    return selection;
}

Table lagTable(const Data& data, double confidence) {
    const std::vector<double>& acvf = data.acvf();
    const double limit = Engine::Distributions::normalQuantile((1.0 + confidence) / 2.0) /
                         std::sqrt(static_cast<double>(data.numProcessedRecords()));
    std::vector<std::int64_t> lags;
    Vector acf;
    for (const double value : acvf) {
        lags.push_back(static_cast<std::int64_t>(lags.size()));
        acf.push_back(value / acvf.front());
    }
    const std::string level = fmt::format("{:.10g}%", 100.0 * confidence);
    Table table{.title = "Autocorrelations", .columns = {}};
    table.columns = {{"Lag", std::move(lags)},
                     {"Autocovariance", Vector(acvf.begin(), acvf.end()), NumberStyle::Series},
                     {"ACF", std::move(acf), NumberStyle::Series},
                     {"PACF", Vector(data.pacf().begin(), data.pacf().end()), NumberStyle::Series},
                     {"Lower " + level, Vector(acvf.size(), -limit), NumberStyle::Series},
                     {"Upper " + level, Vector(acvf.size(), limit), NumberStyle::Series}};
    table.notes.emplace_back(
        "Limits for both functions at lags above 0 when the processed series is white noise.");
    return table;
}

/// A stem for every lag between the limits of white noise.
Chart lagChart(std::string title, std::size_t table, LagColumn column) {
    return {.title = std::move(title),
            .x = {table, Lag},
            .y = {table, column},
            .lines = {{table, Lower}, {table, Upper}},
            .stems = true};
}

bool isFinite(const Data& data) {
    const auto finite = [](double value) { return std::isfinite(value); };
    return data.acvf().front() > 0.0 && std::ranges::all_of(data.acvf(), finite) &&
           std::ranges::all_of(data.pacf(), finite);
}

void declareCount(CLI::App& app, const char* option, std::int64_t& count, std::int64_t least,
                  const char* typeName, const char* description) {
    const auto expectCount = [least](const std::string& text) -> std::string {
        std::int64_t value = 0;
        if (CLI::detail::lexical_cast(text, value) && value >= least) return "";
        return fmt::format("{}, expected a whole number of at least {}", Tool::quoted(text), least);
    };
    app.add_option(option, count, description)->check(expectCount)->type_name(typeName);
}

}  // namespace

void AcfCommand::declare(CLI::App& app) {
    declareFile(app, data_, "CSV file with a header row, rows in the order of time", true);
    app.add_option(kColumn, column_, "Column with the series")->required()->type_name("COLUMN");
    declareCount(app, "--lags", lags_, 1, "L",
                 "Largest lag; 10 log10(n) when left out, n the number of values");
    declareCount(app, "--difference", difference_, 0, "d", "Order of ordinary differencing (0)");
    declareCount(app, "--seasonal-difference", seasonalDifference_, 0, "D",
                 "Order of seasonal differencing (0), taken first; needs --period");
    declareCount(app, "--period", period_, 1, "s", "Length of the season");
    declareConfidence(app, confidence_);
    output_.declare(app);
}

void AcfCommand::checkSeason() const {
    if (seasonalDifference_ == 0 || period_ > 0) return;
    throw UserError(
        "--period: not given, expected the length of the season for "
        "--seasonal-difference");
}

Data AcfCommand::process(std::vector<double> series) const {
    const std::size_t length = series.size();
    Data data(static_cast<std::uint64_t>(difference_),
              static_cast<std::uint64_t>(seasonalDifference_), static_cast<std::uint64_t>(period_));
    try {
        data.load(std::move(series)).preprocess();
    } catch (const Engine::TooFewRecords&) {
        throw UserError(
            fmt::format("{}: {} values in column {}, expected more than the differences "
                        "take away",
                        seasonalDifference_ > 0 ? "--seasonal-difference" : "--difference", length,
                        Tool::quoted(column_)));
    }
    return data;
}

std::uint64_t AcfCommand::chooseLags(std::uint64_t numProcessed) const {
    const std::uint64_t largest = numProcessed - 1;
    if (lags_ == 0) {
        const double usual = 10.0 * std::log10(static_cast<double>(numProcessed));
        return std::min(largest, static_cast<std::uint64_t>(usual));
    }
    const auto lags = static_cast<std::uint64_t>(lags_);
    if (lags <= largest) return lags;
    throw UserError(
        fmt::format("--lags: {}, expected less than the number of values, {} after "
                    "differencing",
                    lags, numProcessed));
}

void AcfCommand::run() {
    output_.checkFiles({data_});
    checkSeason();
    Progress progress;
    progress.stage("Reading " + data_.path);
    const DataFile file(data_.path);
    const NumericSelection selection = readSeries(file, column_);
    const Vector& values = selection.columns.front();

    progress.stage("Computing the autocorrelations");
    Data data = process({values.begin(), values.end()});
    const std::uint64_t lags = chooseLags(data.numProcessedRecords());
    data.computePACF(0, lags + 1);

    Report report{.title = "Autocorrelations of " + column_, .tables = {}};
    report.tables.push_back(entryTable(
        "Summary",
        {{"Data file", data_.path},
         {"Series", column_},
         {"Rows read", selection.rowsRead},
         {"Rows used", selection.rowsUsed()},
         {"Rows left out (missing values)", selection.rowsLeftOut()},
         {"Differences", difference_},
         {"Seasonal differences", seasonalDifference_},
         {"Period", period_ > 0 ? Value(period_) : Value("none")},
         {"Values after differencing", static_cast<std::int64_t>(data.numProcessedRecords())},
         {"Mean after differencing", data.mean()},
         {"Variance after differencing", data.variance()},
         {"Confidence level", confidence_}}));
    report.tables.push_back(lagTable(data, confidence_));
    if (isFinite(data)) {
        report.charts.push_back(lagChart("Autocorrelations", 1, Acf));
        report.charts.push_back(lagChart("Partial autocorrelations", 1, Pacf));
    }
    progress.stage("Writing");
    output_.deliver(report);
}

}  // namespace Veltrix::Tool

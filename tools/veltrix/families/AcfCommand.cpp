#include "tools/veltrix/families/AcfCommand.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "Veltrix/Engine/Distributions.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/NumberFormat.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

namespace {

using Engine::TS::ARIMA::Data;

constexpr const char* kColumn = "--column";

constexpr const char* kLags = "Autocorrelations";

/// The values of the rows from the first to the last that has one. Lags count rows, so none may be
/// missing in between.
RowSelection readSeries(const DataFile& data, const std::string& column) {
    RowSelection selection = selectRows(data, {{kColumn, column}});
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

void addLags(ReportBuilder& report, const Data& data, double confidence) {
    const std::vector<double>& acvf = data.acvf();
    const double limit = Engine::Distributions::normalQuantile((1.0 + confidence) / 2.0) /
                         std::sqrt(static_cast<double>(data.numProcessedRecords()));
    Vector acf(acvf.begin(), acvf.end());
    acf /= acvf.front();
    const std::string lower = "Lower " + percentText(confidence);
    const std::string upper = "Upper " + percentText(confidence);
    report.table(kLags)
        .counted("Lag", acvf.size(), 0)
        .series("Autocovariance", Vector(acvf.begin(), acvf.end()))
        .series("ACF", std::move(acf))
        .series("PACF", Vector(data.pacf().begin(), data.pacf().end()))
        .series(lower, Vector(acvf.size(), -limit))
        .series(upper, Vector(acvf.size(), limit))
        .note(
            "Limits for both functions at lags above 0 when the processed series is white noise.");
    if (!(acvf.front() > 0.0)) return;  // a constant has no autocorrelations
    // A stem for every lag between the limits of white noise.
    for (const auto& [title, column] :
         {std::pair("Autocorrelations", "ACF"), std::pair("Partial autocorrelations", "PACF")}) {
        report.chart(title)
            .x(kLags, "Lag")
            .y(kLags, column)
            .line(kLags, lower)
            .line(kLags, upper)
            .stems();
    }
}

}  // namespace

void AcfCommand::declare(OptionGroup& options) {
    options.file(data_, "CSV file with a header row, rows in the order of time").required();
    options.column(kColumn, column_, "Column with the series").required();
    options
        .count("--lags", lags_, "Largest lag; 10 log10(n) when left out, n the number of values", 1)
        .placeholder("L");
    options.count("--difference", difference_, "Order of ordinary differencing (0)")
        .placeholder("d");
    options
        .count("--seasonal-difference", seasonalDifference_,
               "Order of seasonal differencing (0), taken first; needs --period")
        .placeholder("D");
    options.count("--period", period_, "Length of the season", 1).placeholder("s");
    options.confidence(confidence_);
    output_.declare(options);
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
    ProgressLine progress;
    progress.stage("Reading " + data_.path);
    const DataFile file(data_.path);
    const RowSelection selection = readSeries(file, column_);
    const Vector& values = selection.columns.front().numbers;

    progress.stage("Computing the autocorrelations");
    Data data = process({values.begin(), values.end()});
    const std::uint64_t lags = chooseLags(data.numProcessedRecords());
    data.computePACF(0, lags + 1);

    ReportBuilder report("Autocorrelations of " + column_);
    report.table("Summary")
        .entry("Data file", data_.path)
        .entry("Series", column_)
        .entry("Rows read", selection.rowsRead)
        .entry("Rows used", selection.rowsUsed())
        .entry("Rows left out (missing values)", selection.rowsLeftOut())
        .entry("Differences", difference_)
        .entry("Seasonal differences", seasonalDifference_)
        .entry("Period", period_ > 0 ? Value(period_) : Value("none"))
        .entry("Values after differencing", static_cast<std::int64_t>(data.numProcessedRecords()))
        .entry("Mean after differencing", data.mean())
        .entry("Variance after differencing", data.variance())
        .entry("Confidence level", confidence_);
    addLags(report, data, confidence_);
    progress.stage("Writing");
    output_.deliver(report.take());
}

}  // namespace Veltrix::Tool

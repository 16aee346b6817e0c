#include "tools/veltrix/families/PartitionCommand.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Engine/Sampling.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/Progress.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/FrameCsv.h"

namespace Veltrix::Tool {

namespace {

namespace Sampling = Engine::Sampling;

constexpr const char* kTrain = "--train";
constexpr const char* kValidation = "--validation";
constexpr const char* kTarget = "--target";
constexpr const char* kSuccessClass = "--success-class";
constexpr const char* kSuccessShare = "--success-share";
constexpr const char* kColumn = "--column";

/// Codes of the parts, and what is written for them.
enum Part : int { Unused, Train, Validation, Test };
const StringVector& partNames() {
    static const StringVector names{L"", L"train", L"valid", L"test"};
    return names;
}

void assign(IntVector& parts, const IntVector& rows, Part part) {
    for (const int row : rows) parts[static_cast<std::uint64_t>(row)] = part;
}

WString decode(const char* option, const std::string& text) {
    try {
        return WString::fromUtf8(text);
    } catch (const Exception& error) {
        throw UserError(fmt::format("{}: {}", option, error.what()));
    }
}

/// The class as the column's cells have it: in a column of numbers "1.0" means 1.
WString classLabel(const ConstDataFrameColumn& column, const std::string& name) {
    if (column.getKind() != ColumnKind::text) {
        const std::optional<double> number = Support::parseNumber(std::string_view(name));
        if (number) return WString(Support::wideNumberText(*number));
    }
    return decode(kSuccessClass, name);
}

void checkClasses(const StringVector& classes, const WString& label, const std::string& target,
                  double successShare) {
    if (std::find(classes.begin(), classes.end(), label) == classes.end()) {
        throw UserError(fmt::format("{}: column {} does not hold {}, expected one of {}",
                                    kSuccessClass, Tool::quoted(target),
                                    Tool::quoted(label.toUtf8()), quotedList(classes)));
    }
    if (classes.size() == 1 && successShare < 1.0) {
        throw UserError(
            fmt::format("{}: column {} holds {} only, expected other classes for a "
                        "share below 1",
                        kSuccessShare, Tool::quoted(target), Tool::quoted(label.toUtf8())));
    }
}

}  // namespace

void PartitionCommand::declare(OptionGroup& options) {
    options.file(data_, "CSV file with a header row").required();
    options.share(kTrain, train_, "Share of the rows for training").required();
    options.share(kValidation, validation_, "Share of the rows for validation; test has the rest")
        .shown("0");
    options.seed(seed_);
    auto target =
        options.column(kTarget, target_, "Column with classes, for training with a given share");
    options.text(kSuccessClass, successClass_, "Class that has the given share")
        .placeholder("CLASS")
        .needs(kTarget);
    target.needs(kSuccessClass);
    options.share(kSuccessShare, successShare_, "Share of that class in training")
        .shown("0.5")
        .needs(kTarget);
    options.name(kColumn, column_, "Name of the column that is added");
    options.file(output_, "Writes the rows into this file");
    options.footer(
        "All rows are written in their order, with train, valid or test in the added column.\n"
        "With a target, the shares for training and validation are taken from the scarcer of the\n"
        "class and all other classes; training has as many of the rest as makes the share, the\n"
        "other parts have the shares of the file, and rows beyond that have an empty cell.");
}

IntVector PartitionCommand::assignAtRandom(int numRows) const {
    Sampling::Partitioning sampler(numRows, train_);
    const IntVector order = sampler.setSeed(seed_).sample();
    const auto trainEnd = static_cast<std::uint64_t>(sampler.getFirstPartitionSize());
    const auto validationEnd = std::min(
        order.size(), static_cast<std::uint64_t>(std::llround((train_ + validation_) * numRows)));
    IntVector parts(order.size());
    for (std::uint64_t i = 0; i < order.size(); ++i) {
        const Part part = i < trainEnd ? Train : i < validationEnd ? Validation : Test;
        parts[static_cast<std::uint64_t>(order[i])] = part;
    }
    return parts;
}

IntVector PartitionCommand::assignOversampled(const DataFile& data) const {
    const DataFrame target = typedColumn(data.frame(), data.columnIndex(kTarget, target_));
    const ConstDataFrameColumn column = target(Selection::all, 0);
    const WString label = classLabel(column, successClass_);
    checkClasses(column.getLevels(), label, target_, successShare_);
    Sampling::OversamplingPartitioning partitioning;
    partitioning.setSuccessShare(successShare_)
        .setTrainingShare(train_)
        .setValidationShare(validation_)
        .setSeed(static_cast<std::int32_t>(seed_))
        .partition(column.toStringVector(), label);
    IntVector parts(static_cast<std::uint64_t>(data.numRows()), Unused);
    assign(parts, partitioning.getTraining(), Train);
    assign(parts, partitioning.getValidation(), Validation);
    assign(parts, partitioning.getTest(), Test);
    return parts;
}

IntVector PartitionCommand::assignParts(const DataFile& data) const {
    return target_.empty() ? assignAtRandom(static_cast<int>(data.numRows()))
                           : assignOversampled(data);
}

void PartitionCommand::run() {
    checkDistinct(output_, data_);
    constexpr double kRoundingError = 1e-12;
    if (train_ + validation_ > 1.0 + kRoundingError) {
        throw UserError(fmt::format("{}: {} and {} of {} are more than 1 together", kValidation,
                                    Support::numberText(validation_), kTrain,
                                    Support::numberText(train_)));
    }
    ProgressLine progress;
    progress.stage("Reading " + data_.path);
    const DataFile data(data_.path, verbatim());
    if (data.hasColumn(column_)) {
        throw UserError(fmt::format("{}: {} has a column {} already, expected a new name", kColumn,
                                    Tool::quoted(data_.path), Tool::quoted(column_)));
    }
    progress.stage("Drawing");
    DataFrame added;
    added.append(decode(kColumn, column_), assignParts(data), partNames());
    progress.stage("Writing");
    FrameCsv csv;
    csv.add(data.frame());
    csv.add(added);
    IntVector rows(static_cast<std::uint64_t>(data.numRows()));
    std::iota(rows.begin(), rows.end(), 0);
    deliverText(output_, csv.render(rows));
}

}  // namespace Veltrix::Tool

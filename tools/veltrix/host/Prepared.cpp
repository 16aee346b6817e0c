#include "tools/veltrix/host/Prepared.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Parts = std::vector<std::optional<Part>>;

/// The part of every row of the file; rows with an empty cell have none.
Parts readParts(const DataFile& file, const std::string& name) {
    const auto numRows = static_cast<std::size_t>(file.numRows());
    Parts parts(numRows);
    if (name.empty()) {
        for (std::size_t i = 0; i < numRows; ++i) {
            if (file.isChosen(i)) parts[i] = Part::Training;
        }
        return parts;
    }
    const TypedColumn column = readCategories(file, {TaskOptions::kPartitionColumn, name, true});
    for (std::size_t i = 0; i < numRows; ++i) {
        if (!file.isChosen(i) || column.codes[i] < 0) continue;
        parts[i] = partOf(column.level(i));
        if (parts[i]) continue;
        throw UserError(
            describeCell(column.used, static_cast<std::int64_t>(i) + 1, column.level(i).toUtf8()) +
            ", expected train, valid or test");
    }
    return parts;
}

/// The columns of numbers; the others are `leftOut`.
std::vector<std::string> numericColumns(const DataFile& file, const std::string& option,
                                        std::vector<std::string>& leftOut) {
    std::vector<std::string> names;
    for (const std::string& name : file.columnNames()) {
        (file.isText(option, name) ? leftOut : names).push_back(name);
    }
    if (!names.empty()) return names;
    throw UserError(fmt::format("{}: {} has no column of numbers, expected at least one", option,
                                Tool::quoted(file.path())));
}

void choosePredictors(Prepared& data, const DataFile& file, const TaskOptions& options) {
    const std::string option = options.predictorOption();
    data.coding = PredictorCoding(options.needs.coding);
    data.option = option;
    std::vector<std::string> names{options.series};
    if (options.isSeries()) {
        data.coding.choose(file, std::move(names), option, {});
        return;
    }
    if (!options.hasTarget() && options.predictors.empty()) {
        names = numericColumns(file, option, data.leftOut);
        data.option = options.data.option;
    } else {
        names = choosePredictors(file, option, options.predictors, options.roles());
    }
    data.coding.choose(file, std::move(names), TaskOptions::kCategorical,
                       splitNames(file, options.categorical));
}

/// The elements at these positions.
template <class List>
List pick(const List& list, const IntVector& rows) {
    List result;
    result.reserve(rows.size());
    for (const int row : rows) result.push_back(list[static_cast<std::size_t>(row)]);
    return result;
}

/// Levels without those that no row has; the codes follow.
StringVector compact(const StringVector& levels, IntVector& codes) {
    std::vector<int> place(levels.size(), -1);
    for (const int code : codes) place[static_cast<std::size_t>(code)] = 0;
    StringVector kept;
    for (std::size_t k = 0; k < place.size(); ++k) {
        if (place[k] < 0) continue;
        place[k] = static_cast<int>(kept.size());
        kept.push_back(levels[k]);
    }
    for (int& code : codes) code = place[static_cast<std::size_t>(code)];
    return kept;
}

/// A target of numbers that hardly repeat was not meant as classes.
void checkClasses(const StringVector& classes, std::uint64_t numRows, const TaskOptions& options) {
    constexpr std::uint64_t kFew = 10;
    if (classes.size() == 1) {
        throw UserError(fmt::format(
            "{}: column {} holds only {} in the training rows, expected at "
            "least two classes",
            TaskOptions::kTarget, Tool::quoted(options.target), Tool::quoted(classes[0].toUtf8())));
    }
    if (classes.size() <= kFew || 2 * classes.size() <= numRows) return;
    throw UserError(fmt::format(
        "{}: column {} holds {} different texts in {} training rows, "
        "expected classes{}",
        TaskOptions::kTarget, Tool::quoted(options.target), classes.size(), numRows,
        options.hasRegressionOption() ? ", or --regression for numbers" : " that repeat"));
}

void checkWeights(const Prepared& data, const std::string& name) {
    const PartData& part = data.training();
    const auto negative = std::ranges::find_if(part.weights, [](double w) { return w < 0.0; });
    if (negative != part.weights.end()) {
        const auto row = static_cast<std::size_t>(negative - part.weights.begin());
        throw UserError(describeCell({TaskOptions::kWeights, name}, part.rowNumbers[row],
                                     Support::numberText(*negative)) +
                        ", expected 0 or more");
    }
    const auto failAllZero = [&](const std::string& where) {
        throw UserError(fmt::format("{}: column {} holds only 0 in {}, expected a weight above 0",
                                    TaskOptions::kWeights, Tool::quoted(name), where));
    };
    if (std::ranges::all_of(part.weights, [](double w) { return w == 0.0; })) {
        failAllZero("the rows used");
    }
    // A class whose records all weigh nothing could not get its prior.
    std::vector<double> totals(data.labels.size(), -1.0);  // below 0 without a record
    for (std::uint64_t i = 0; i < part.labels.size(); ++i) {
        double& total = totals[static_cast<std::size_t>(part.labels[i])];
        total = std::max(total, 0.0) + part.weights[i];
    }
    const auto zero = std::ranges::find(totals, 0.0);
    if (zero == totals.end()) return;
    const WString& label = data.labels[static_cast<std::uint64_t>(zero - totals.begin())];
    failAllZero(fmt::format("the training rows of class {}", Tool::quoted(label.toUtf8())));
}

/// A note for each text predictor that holds nothing but names of parts, training among them.
void notePartitions(Prepared& data, const RowSelection& selection) {
    for (const TypedColumn& column : selection.columns) {
        bool trains = false;
        const bool parts = std::ranges::all_of(column.levels, [&](const WString& level) {
            const std::optional<Part> part = partOf(level);
            trains = trains || part == Part::Training;
            return part.has_value();
        });
        if (column.used.option != data.option || !parts || !trains) continue;
        data.text.notes.push_back(
            fmt::format("column {} is a predictor, but looks as if it said which rows train; {} "
                        "makes it do so",
                        Tool::quoted(column.used.name), TaskOptions::kPartitionColumn));
    }
}

/// Rows read and the positions of the rows selected, part by part.
std::array<IntVector, kParts.size()> divide(Prepared& data, const Parts& parts,
                                            const RowSelection& selection) {
    for (const std::optional<Part>& part : parts) {
        if (part) ++data.parts[static_cast<std::size_t>(*part)].rowsRead;
    }
    std::array<IntVector, kParts.size()> rows;
    for (std::size_t k = 0; k < selection.rowNumbers.size(); ++k) {
        const auto place = static_cast<std::size_t>(selection.rowNumbers[k]) - 1;
        rows[static_cast<std::size_t>(*parts[place])].push_back(static_cast<int>(k));
    }
    if (!rows[0].empty()) return rows;
    throw UserError(fmt::format("{}: no row with all values says train, expected at least one",
                                TaskOptions::kPartitionColumn));
}

void fillParts(Prepared& data, const std::array<IntVector, kParts.size()>& rows,
               RowSelection& selection, const TaskOptions& options) {
    const std::size_t numPredictors = data.coding.predictors().size();
    TypedColumn* const target = options.hasTarget() ? &selection.columns[numPredictors] : nullptr;
    const TypedColumn* const weights =
        options.weights.empty() ? nullptr : &selection.columns[numPredictors + 1];
    if (options.hasClasses()) data.labels = compact(target->levels, target->codes);
    Records all = data.coding.encode(selection);
    for (std::size_t k = 0; k < kParts.size(); ++k) {
        PartData& part = data.parts[k];
        if (rows[k].empty()) continue;
        part.rowNumbers = pick(selection.rowNumbers, rows[k]);
        if (weights != nullptr) part.weights = pick(weights->numbers, rows[k]);
        if (options.hasClasses()) part.labels = pick(target->codes, rows[k]);
        if (target != nullptr && options.predictsNumbers()) {
            part.numbers = pick(target->numbers, rows[k]);
        }
        if (rows[k].size() == selection.rowNumbers.size()) {
            part.records = std::move(all);
            break;  // the other parts are empty
        }
        part.records = all.at(rows[k]);
    }
}

}  // namespace

std::string_view partName(Part part) {
    constexpr std::array<std::string_view, kParts.size()> kNames{"training", "validation", "test"};
    return kNames[static_cast<std::size_t>(part)];
}

std::optional<Part> partOf(const WString& text) {
    std::wstring lower(text.view());
    for (wchar_t& c : lower) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    if (lower == L"train" || lower == L"training") return Part::Training;
    if (lower == L"valid" || lower == L"validation") return Part::Validation;
    if (lower == L"test" || lower == L"testing") return Part::Test;
    return std::nullopt;
}

PartData Prepared::withTrainedClasses(Part which) const {
    const PartData& all = part(which);
    if (labels.size() == roles.classes.size()) return all;
    const auto isTrained = [&](int label) {
        return std::ranges::find(roles.classes, labels[static_cast<std::uint64_t>(label)]) !=
               roles.classes.end();
    };
    IntVector rows;
    for (std::uint64_t i = 0; i < all.labels.size(); ++i) {
        if (isTrained(all.labels[i])) rows.push_back(static_cast<int>(i));
    }
    PartData kept;
    kept.records = all.records.at(rows);
    kept.rowNumbers = pick(all.rowNumbers, rows);
    kept.labels = pick(all.labels, rows);
    return kept;
}

std::vector<double> Prepared::series() const {
    const auto values = training().records.x(Selection::all, 0).elements();
    return {values.begin(), values.end()};
}

DataFrame Prepared::targetOf(const PartData& part) const {
    DataFrame frame;
    if (labels.empty()) {
        frame.append(part.numbers);
    } else {
        frame.append(L"", part.labels, labels);
    }
    return frame;
}

StringVector Prepared::labelsOf(const PartData& part) const {
    StringVector texts;
    texts.reserve(part.labels.size());
    for (const int code : part.labels) texts.push_back(labels[static_cast<std::uint64_t>(code)]);
    return texts;
}

void checkSeries(const RowSelection& selection) {
    const std::vector<std::int64_t>& rows = selection.rowNumbers;
    const UsedColumn& column = selection.columns.front().used;
    if (rows.empty()) {
        throw UserError(fmt::format("{}: column {} holds no value, expected a series",
                                    column.option, Tool::quoted(column.name)));
    }
    const auto gap = std::ranges::adjacent_find(
        rows, [](std::int64_t row, std::int64_t next) { return next != row + 1; });
    if (gap == rows.end()) return;
    throw UserError(
        fmt::format("{}: column {}, row {} holds no value, expected a series without gaps",
                    column.option, Tool::quoted(column.name), *gap + 1));
}

Prepared prepare(const DataFile& file, const TaskOptions& options) {
    checkRoles(file, options.roles());
    Prepared data;
    data.confidence = options.confidence;
    data.weights = options.weights.empty() ? "none" : options.weights;
    choosePredictors(data, file, options);
    const Parts parts = readParts(file, options.partitionColumn);
    std::vector<UsedColumn> used = data.coding.used(data.option);
    if (options.hasTarget()) {
        used.push_back({TaskOptions::kTarget, options.target, options.hasClasses()});
    }
    if (!options.weights.empty()) used.push_back({TaskOptions::kWeights, options.weights});
    if (!options.partitionColumn.empty()) {
        used.push_back({TaskOptions::kPartitionColumn, options.partitionColumn, true});
    }
    RowSelection selection = selectRows(file, used);
    if (options.isSeries()) {
        checkSeries(selection);
        data.times = readTimes(file, {TaskOptions::kTime, options.time}, selection.rowNumbers);
    }
    checkRowsLeft(selection);
    data.rowsRead = selection.rowsRead;
    data.rowsChosen = selection.rowsChosen;
    data.rowsUsed = selection.rowsUsed();
    data.dialect = file.dialect();
    data.text = describeTextColumns(file, selection, data.option);
    for (std::string& note : slipNotes(file, data.leftOut)) {
        data.text.notes.push_back(std::move(note));
    }
    if (options.hasTarget() && options.partitionColumn.empty()) notePartitions(data, selection);
    const auto rows = divide(data, parts, selection);
    data.coding.learn(selection, options.maxLevels);
    fillParts(data, rows, selection, options);
    if (options.hasClasses()) {
        IntVector codes = data.training().labels;
        StringVector classes = compact(data.labels, codes);
        checkClasses(classes, codes.size(), options);
        data.roles = options.classes.roles(std::move(classes), options.target);
    }
    if (!options.weights.empty()) checkWeights(data, options.weights);
    return data;
}

}  // namespace Veltrix::Tool

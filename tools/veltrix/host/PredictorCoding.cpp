#include "tools/veltrix/host/PredictorCoding.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Util.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/StoredFields.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

namespace {

using Engine::Encoder;

bool contains(const std::vector<std::string>& names, const std::string& name) {
    return std::ranges::find(names, name) != names.end();
}

/// The base first.
std::vector<WString> byPosition(const Encoder::CategoryMap& categories) {
    std::vector<WString> levels(categories.size());
    for (const auto& [level, position] : categories) {
        levels[static_cast<std::size_t>(position)] = level;
    }
    return levels;
}

std::string describeLevel(const TypedColumn& column, const RowSelection& selection,
                          std::size_t row) {
    return describeCell(column.used, selection.rowNumbers[row], column.level(row).toUtf8());
}

/// `limit` says how many would do.
[[noreturn]] void failManyLevels(const TypedColumn& column, const RowSelection& selection,
                                 const std::string& limit) {
    const std::string expected = "expected a number in each row, or " + limit;
    for (std::size_t i = 0; i < column.codes.size(); ++i) {
        if (Support::parseNumber(column.level(i).view())) continue;
        throw UserError(describeLevel(column, selection, i) + ", " + expected);
    }
    throw UserError(fmt::format("{}: column {} holds text, {}", column.used.option,
                                Tool::quoted(column.used.name), expected));
}

/// The levels that occur in the rows selected.
StringVector occurringLevels(const TypedColumn& column) {
    std::vector<char> occurs(column.levels.size(), 0);
    for (const int code : column.codes) occurs[static_cast<std::size_t>(code)] = 1;
    StringVector found;
    for (std::size_t code = 0; code < occurs.size(); ++code) {
        if (occurs[code] != 0) found.push_back(column.levels[code]);
    }
    return found;
}

/// A column of categories with as many levels as rows names the rows, or is one of numbers with a
/// slip among them.
void checkNumLevels(const TypedColumn& column, const RowSelection& selection,
                    std::uint64_t numLevels) {
    if (numLevels < column.codes.size()) return;
    failManyLevels(column, selection,
                   fmt::format("fewer levels than the rows used ({})", selection.rowsUsed()));
}

/// Writes the 0/1 columns of a predictor's levels from the `first` on one after another; returns
/// where they end.
double* writeIndicators(const TypedColumn& column, const RowSelection& selection,
                        const Encoder::CategoryMap& categories, std::size_t first, double* target) {
    constexpr std::size_t kUnknown = SIZE_MAX;
    std::vector<std::size_t> positions;
    for (const WString& level : column.levels) {
        const auto known = categories.find(level);
        positions.push_back(known == categories.end() ? kUnknown
                                                      : static_cast<std::size_t>(known->second));
    }
    const std::size_t rows = column.codes.size();
    double* const end = target + (categories.size() - first) * rows;
    std::fill(target, end, 0.0);
    for (std::size_t i = 0; i < rows; ++i) {
        const std::size_t position = positions[static_cast<std::size_t>(column.codes[i])];
        if (position == kUnknown) {
            throw UserError(describeLevel(column, selection, i) +
                            ", expected one of the levels that the model was fitted to");
        }
        if (position >= first) target[(position - first) * rows + i] = 1.0;
    }
    return end;
}

void expectAmong(const Support::JsonView& part, const std::vector<std::string>& names,
                 const std::vector<std::string>& predictors) {
    for (const std::string& name : names) {
        if (contains(predictors, name)) continue;
        part.fail(fmt::format("column {} is no predictor", Tool::quoted(name)));
    }
}

}  // namespace

Records Records::at(const IntVector& rows) const {
    Records part;
    if (frame.getNumCols() > 0) {
        part.frame = frame(rows, Selection::all);
    } else {
        part.x = x(rows, Selection::all);
    }
    return part;
}

bool PredictorCoding::hasIndicators() const {
    return kind_ == Coding::AllButBase || kind_ == Coding::AllLevels;
}

bool PredictorCoding::isCategorical(const std::string& name) const {
    return contains(categorical_, name);
}

void PredictorCoding::choose(const DataFile& data, std::vector<std::string> predictors,
                             const std::string& option,
                             const std::vector<std::string>& categorical) {
    predictors_ = std::move(predictors);
    for (const std::string& name : categorical) {
        data.columnIndex(option, name);
        if (contains(predictors_, name)) continue;
        throw UserError(fmt::format("{}: column {} is no predictor, expected one of them", option,
                                    Tool::quoted(name)));
    }
    if (kind_ == Coding::Numbers) return;
    for (const std::string& name : predictors_) {
        const bool text = data.isText("--predictors", name);
        if (text) text_.push_back(name);
        if (text || contains(categorical, name)) categorical_.push_back(name);
    }
}

std::vector<std::string> PredictorCoding::columnNames() const {
    std::vector<std::string> names;
    for (const std::string& predictor : predictors_) {
        const WString name = WString::fromUtf8(predictor);
        if (!levels_.isEncoded(name)) {
            names.push_back(predictor);
            continue;
        }
        const std::vector<WString> levels = byPosition(levels_.getMapping().at(name));
        for (std::size_t k = numBases(); k < levels.size(); ++k) {
            names.push_back(Engine::Util::generateColName(name, levels[k]).toUtf8());
        }
    }
    return names;
}

std::vector<std::string> PredictorCoding::baseNotes() const {
    std::vector<std::string> notes;
    for (const std::string& predictor : predictors_) {
        const WString name = WString::fromUtf8(predictor);
        if (!levels_.isEncoded(name)) continue;
        const WString base = byPosition(levels_.getMapping().at(name)).front();
        notes.push_back(fmt::format("Coefficients of {} are differences from level {}.",
                                    Tool::quoted(predictor), Tool::quoted(base.toUtf8())));
    }
    return notes;
}

CsvOptions PredictorCoding::csvOptions() const {
    CsvOptions options;
    options.textColumns = text_;
    return options;
}

std::vector<UsedColumn> PredictorCoding::used(const std::string& option) const {
    std::vector<UsedColumn> columns;
    for (const std::string& name : predictors_) {
        columns.push_back({option, name, isCategorical(name)});
    }
    return columns;
}

void PredictorCoding::checkNames(const std::string& option) const {
    std::vector<std::string> names = columnNames();
    std::ranges::sort(names);
    const auto twice = std::ranges::adjacent_find(names);
    if (twice == names.end()) return;
    throw UserError(fmt::format(
        "{}: {} is the name of two columns once text columns are coded, expected distinct names",
        option, Tool::quoted(*twice)));
}

void PredictorCoding::learnLevels(const TypedColumn& column, const RowSelection& selection,
                                  int maxLevels) {
    const StringVector levels = occurringLevels(column);
    const std::uint64_t count = levels.size();
    checkNumLevels(column, selection, count);
    if (!hasIndicators()) return;
    if (count > static_cast<std::uint64_t>(maxLevels)) {
        constexpr double kMegabyte = 1e6;
        const double cost =
            static_cast<double>(8 * count) * static_cast<double>(selection.rowsUsed()) / kMegabyte;
        failManyLevels(
            column, selection,
            fmt::format("at most {} levels, which become a column each ({} found, {:.2g} MB in {} "
                        "rows; --max-levels {} allows them)",
                        maxLevels, count, cost, selection.rowsUsed(), count));
    }
    if (count == 1) {
        throw UserError(fmt::format(
            "{}: column {} holds only {} in the rows used, expected at "
            "least two levels",
            column.used.option, Tool::quoted(column.used.name), Tool::quoted(levels[0].toUtf8())));
    }
    levels_.setMapping(WString::fromUtf8(column.used.name), Encoder::getCatColMapping(levels));
}

void PredictorCoding::learn(const RowSelection& selection, int maxLevels) {
    for (std::size_t k = 0; k < predictors_.size(); ++k) {
        const TypedColumn& column = selection.columns[k];
        if (column.used.categories) learnLevels(column, selection, maxLevels);
    }
    if (!predictors_.empty()) checkNames(selection.columns[0].used.option);
}

Matrix PredictorCoding::matrix(const RowSelection& selection) const {
    Matrix result(static_cast<int>(selection.rowsUsed()), static_cast<int>(columnNames().size()),
                  MatrixOrderType::columnMajor, Storage::Unfilled{});
    double* target = result.data();
    for (std::size_t k = 0; k < predictors_.size(); ++k) {
        const TypedColumn& column = selection.columns[k];
        const auto known = levels_.getMapping().find(WString::fromUtf8(predictors_[k]));
        target = known == levels_.getMapping().end()
                     ? std::ranges::copy(column.numbers, target).out
                     : writeIndicators(column, selection, known->second, numBases(), target);
    }
    return result;
}

DataFrame PredictorCoding::frame(const RowSelection& selection) const {
    DataFrame result;
    for (std::size_t k = 0; k < predictors_.size(); ++k) {
        const TypedColumn& column = selection.columns[k];
        const WString name = WString::fromUtf8(predictors_[k]);
        if (column.used.categories) {
            result.append(name, column.codes, column.levels);
        } else {
            Vector numbers = column.numbers;
            numbers.setName(name);
            result.append(std::move(numbers));
        }
    }
    return result;
}

Records PredictorCoding::encode(const RowSelection& selection) const {
    Records records;
    if (kind_ == Coding::Categories) {
        records.frame = frame(selection);
    } else {
        records.x = matrix(selection);
    }
    return records;
}

int PredictorCoding::numColumns(const std::string& predictor) const {
    const auto known = levels_.getMapping().find(WString::fromUtf8(predictor));
    if (known == levels_.getMapping().end()) return 1;
    return static_cast<int>(known->second.size() - numBases());
}

void PredictorCoding::keepOnly(IntVector& columns) {
    if (columns.empty()) return;
    std::vector<std::string> kept;
    IntVector places;
    int before = 0;      // columns of the predictors that were looked at
    int keptBefore = 0;  // and of those kept
    for (const std::string& predictor : predictors_) {
        const int count = numColumns(predictor);
        const std::uint64_t found = places.size();
        for (const int column : columns) {
            const int within = column - before;
            if (within >= 0 && within < count) places.push_back(keptBefore + within);
        }
        before += count;
        if (places.size() == found) continue;
        kept.push_back(predictor);
        keptBefore += count;
    }
    const auto isLeftOut = [&](const std::string& name) { return !contains(kept, name); };
    std::erase_if(categorical_, isLeftOut);
    std::erase_if(text_, isLeftOut);
    Engine::Encoder::Mapping levels = levels_.getMapping();
    std::erase_if(levels, [&](const auto& column) { return isLeftOut(column.first.toUtf8()); });
    levels_ = Engine::Encoder().setMapping(levels);
    predictors_ = std::move(kept);
    columns = std::move(places);
}

void PredictorCoding::write(Support::JsonWriter& writer) const {
    writer.member(key(), predictors_);
    if (kind_ == Coding::Categories) {
        writer.member("categorical", categorical_).member("text", text_);
    } else if (hasIndicators()) {
        writer.key("levels").json(levels_.toJson().toUtf8());
    }
}

void PredictorCoding::read(const Support::JsonView& root) {
    predictors_ = root.at(key()).asStrings();
    if (kind_ == Coding::Categories) {
        categorical_ = root.at("categorical").asStrings();
        text_ = root.at("text").asStrings();
        expectAmong(root.at("categorical"), categorical_, predictors_);
        expectAmong(root.at("text"), text_, categorical_);
    } else if (hasIndicators()) {
        const Support::JsonView part = root.at("levels");
        readPart(levels_, part);
        text_ = toTexts(levels_.getEncodedColNames());
        categorical_ = text_;
        expectAmong(part, text_, predictors_);
        for (const auto& [column, categories] : levels_.getMapping()) {
            if (!categories.empty()) continue;
            part.fail(fmt::format("no level of {}", Tool::quoted(column.toUtf8())));
        }
    }
}

}  // namespace Veltrix::Tool

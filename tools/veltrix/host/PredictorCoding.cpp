#include "tools/veltrix/host/PredictorCoding.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Engine/Util.h"
#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Engine::Encoder;

/// Most levels that all get a column: more would outweigh the columns of numbers.
constexpr std::size_t kMostLevels = 100;

/// The base first.
std::vector<WString> byPosition(const Encoder::CategoryMap& categories) {
    std::vector<WString> levels(categories.size());
    for (const auto& [level, position] : categories) {
        levels[static_cast<std::size_t>(position)] = level;
    }
    return levels;
}

std::size_t codeAt(const Vector& codes, std::size_t row) {
    return static_cast<std::size_t>(codes[row]);
}

std::string describeLevel(const NumericSelection& selection, std::size_t column, std::size_t row) {
    const WString& level = selection.levels[column][codeAt(selection.columns[column], row)];
    return describeCell(selection.used[column], selection.rowNumbers[row], level.toUtf8());
}

/// `limit` says how many would do.
[[noreturn]] void failManyLevels(const NumericSelection& selection, std::size_t column,
                                 const std::string& limit) {
    const std::string expected = "expected a number in each row, or " + limit;
    for (std::size_t i = 0; i < selection.rowNumbers.size(); ++i) {
        const WString& level = selection.levels[column][codeAt(selection.columns[column], i)];
        if (Support::parseNumber(level.view())) continue;
        throw UserError(describeLevel(selection, column, i) + ", " + expected);
    }
    const UsedColumn& used = selection.used[column];
    throw UserError(fmt::format("{}: column {} holds text, {}", used.option,
                                Tool::quoted(used.name), expected));
}

/// The levels that occur in the rows selected.
Encoder::CategoryMap occurringLevels(const NumericSelection& selection, std::size_t column) {
    const StringVector& levels = selection.levels[column];
    std::vector<char> occurs(levels.size(), 0);
    for (std::size_t i = 0; i < selection.rowNumbers.size(); ++i) {
        occurs[codeAt(selection.columns[column], i)] = 1;
    }
    StringVector found;
    for (std::size_t code = 0; code < occurs.size(); ++code) {
        if (occurs[code] != 0) found.push_back(levels[code]);
    }
    return Encoder::getCatColMapping(found);
}

/// Writes the 0/1 columns of a predictor's levels from the `first` on one after another; returns
/// where they end.
double* writeIndicators(const NumericSelection& selection, std::size_t column,
                        const Encoder::CategoryMap& categories, std::size_t first, double* target) {
    constexpr std::size_t kUnknown = SIZE_MAX;
    std::vector<std::size_t> positions;
    for (const WString& level : selection.levels[column]) {
        const auto known = categories.find(level);
        positions.push_back(known == categories.end() ? kUnknown
                                                      : static_cast<std::size_t>(known->second));
    }
    const std::size_t rows = selection.rowNumbers.size();
    double* const end = target + (categories.size() - first) * rows;
    std::fill(target, end, 0.0);
    for (std::size_t i = 0; i < rows; ++i) {
        const std::size_t position = positions[codeAt(selection.columns[column], i)];
        if (position == kUnknown) {
            throw UserError(describeLevel(selection, column, i) +
                            ", expected one of the levels that the model was fitted to");
        }
        if (position >= first) target[(position - first) * rows + i] = 1.0;
    }
    return end;
}

}  // namespace

void checkNumLevels(const NumericSelection& selection, std::size_t column) {
    if (occurringLevels(selection, column).size() < selection.rowNumbers.size()) return;
    failManyLevels(selection, column,
                   fmt::format("fewer levels than the rows used ({})", selection.rowsUsed()));
}

PredictorCoding::PredictorCoding(std::vector<std::string> predictors, LevelColumns levelColumns,
                                 Encoder levels)
    : predictors_(std::move(predictors)), levelColumns_(levelColumns), levels_(std::move(levels)) {}

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

std::vector<UsedColumn> PredictorCoding::usedForFit(const std::string& option,
                                                    const DataFile& data) const {
    std::vector<UsedColumn> used;
    for (const std::string& name : predictors_) {
        const auto column = data.frame()(Selection::all, data.columnIndex(option, name));
        used.push_back({option, name, column.getKind() == ColumnKind::text});
    }
    return used;
}

std::vector<UsedColumn> PredictorCoding::usedForScoring(const std::string& option) const {
    std::vector<UsedColumn> used;
    for (const std::string& name : predictors_) {
        used.push_back({option, name, levels_.isEncoded(WString::fromUtf8(name))});
    }
    return used;
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

void PredictorCoding::learn(const NumericSelection& selection, std::size_t first) {
    for (std::size_t column = first; column < first + predictors_.size(); ++column) {
        const UsedColumn& used = selection.used[column];
        if (!used.byLevel) continue;
        const Encoder::CategoryMap categories = occurringLevels(selection, column);
        checkNumLevels(selection, column);
        if (levelColumns_ == LevelColumns::All && categories.size() > kMostLevels) {
            failManyLevels(selection, column,
                           fmt::format("at most {} levels, which become a column each ({} found)",
                                       kMostLevels, categories.size()));
        }
        if (categories.size() == 1) {
            throw UserError(
                fmt::format("{}: column {} holds only {} in the rows used, expected at "
                            "least two levels",
                            used.option, Tool::quoted(used.name),
                            Tool::quoted(categories.begin()->first.toUtf8())));
        }
        levels_.setMapping(WString::fromUtf8(used.name), categories);
    }
    if (!predictors_.empty()) checkNames(selection.used[first].option);
}

Matrix PredictorCoding::code(const NumericSelection& selection, std::size_t first) const {
    Matrix result(static_cast<int>(selection.rowsUsed()), static_cast<int>(columnNames().size()),
                  MatrixOrderType::columnMajor, Storage::Unfilled{});
    double* target = result.data();
    for (std::size_t k = 0; k < predictors_.size(); ++k) {
        const std::size_t column = first + k;
        const auto known = levels_.getMapping().find(WString::fromUtf8(predictors_[k]));
        target = known == levels_.getMapping().end()
                     ? std::ranges::copy(selection.columns[column], target).out
                     : writeIndicators(selection, column, known->second, numBases(), target);
    }
    return result;
}

}  // namespace Veltrix::Tool

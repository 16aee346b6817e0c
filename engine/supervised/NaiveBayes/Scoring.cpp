#include <algorithm>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/NaiveBayes.h"
#include "engine/core/MapLookup.h"
#include "engine/supervised/NaiveBayes/SortedKeys.h"
#include "support/NumberCodes.h"
#include "support/NumberText.h"
#include "support/VectorMath.h"

namespace Veltrix::Classification::NaiveBayes::Engine {
namespace {

using Veltrix::Engine::valueAt;

constexpr std::size_t kUnknown = std::numeric_limits<std::size_t>::max();
constexpr std::size_t kNotYet = kUnknown - 1;
/// Longer columns of numbers are read cell by cell, which takes longer but no memory.
constexpr int kMostCopied = 1 << 20;

/// Sums log probabilities feature by feature.
class LogSums {
  public:
    LogSums(int numRecords, const StringVector& classes)
        : classes_(classes),
          sums_(numRecords, static_cast<int>(classes.size()), MatrixOrderType::rowMajor),
          unknown_(static_cast<std::size_t>(numRecords)) {}

    void add(const ConstDataFrameColumn& column, const Model::CategoryMap& known) {
        if (column.getKind() == ColumnKind::text) {
            addTexts(column, known);
        } else {
            addNumbers(column, known);
        }
    }
    void addPriors(const Model::ClassValues& priors) {
        std::vector<double> logs;
        for (const WString& cls : classes_) logs.push_back(valueAt(priors, cls));
        Support::ln(logs.data(), logs.data(), static_cast<std::int64_t>(logs.size()));
        double* row = sums_.data();
        for (std::size_t i = 0; i < unknown_.size(); ++i, row += logs.size()) {
            for (std::size_t c = 0; c < logs.size(); ++c) row[c] += logs[c];
        }
    }
    LogPosterioriInfo take() && {
        LogPosterioriInfo info;
        info.unknownRows.reserve(static_cast<std::uint64_t>(std::ranges::count(unknown_, 1)));
        double* row = sums_.data();
        for (std::size_t i = 0; i < unknown_.size(); ++i, row += classes_.size()) {
            if (unknown_[i] == 0) continue;
            info.unknownRows.push_back(static_cast<int>(i));
            std::fill_n(row, classes_.size(), std::numeric_limits<double>::quiet_NaN());
        }
        info.logPosteriors = std::move(sums_);
        for (std::uint64_t c = 0; c < classes_.size(); ++c) {
            info.classIndexes.emplace(classes_[c], static_cast<int>(c));
        }
        return info;
    }

  private:
    void addTexts(const ConstDataFrameColumn& column, const Model::CategoryMap& known) {
        IntVector codes;
        std::vector<const Model::ClassValues*> categories;
        for (const WString& text : column.getTexts(codes)) {
            const auto category = known.find(text);
            categories.push_back(category == known.end() ? nullptr : &category->second);
        }
        addCells(categories, [&](std::size_t i) { return codes[i]; });
    }

    /// A cell has the text of a category when it is the number that the text is of: no texts are
    /// made, however many different numbers there are.
    void addNumbers(const ConstDataFrameColumn& column, const Model::CategoryMap& known) {
        Support::NumberCodes numbers;
        std::vector<const Model::ClassValues*> categories;
        for (const auto& [text, values] : known) {
            const auto number = Support::parseNumber(text.view());
            if (!number || Convert::toString(*number) != text) continue;
            numbers.findOrAdd(*number);
            categories.push_back(&values);
        }
        if (column.getNumRows() > kMostCopied) {
            addCells(categories, [&](std::size_t i) {
                return numbers.find(column(static_cast<int>(i)).toDouble());
            });
        } else {
            const Vector cells = column.toDoubleVector();
            addCells(categories, [&](std::size_t i) { return numbers.find(cells[i]); });
        }
    }

    /// Adds what each cell's category says; its code is negative, or the category a null pointer,
    /// where the model has none.
    template <class CodeOf>
    void addCells(const std::vector<const Model::ClassValues*>& categories, CodeOf codeOf) {
        const std::size_t width = classes_.size();
        std::vector<std::size_t> places(categories.size(), kNotYet);
        logs_.clear();
        double* row = sums_.data();
        for (std::size_t i = 0; i < unknown_.size(); ++i, row += width) {
            const int code = codeOf(i);
            std::size_t place = kUnknown;
            if (code >= 0) {
                std::size_t& known = places[static_cast<std::size_t>(code)];
                if (known == kNotYet) known = tabulate(categories[static_cast<std::size_t>(code)]);
                place = known;
            }
            if (place == kUnknown) {
                unknown_[i] = 1;
            } else {
                for (std::size_t c = 0; c < width; ++c) row[c] += logs_[place + c];
            }
        }
    }

    /// Appends the logarithms of a category that occurs; returns where they start.
    std::size_t tabulate(const Model::ClassValues* category) {
        if (category == nullptr) return kUnknown;
        const std::size_t place = logs_.size();
        for (const WString& cls : classes_) logs_.push_back(valueAt(*category, cls));
        double* const first = logs_.data() + place;
        Support::ln(first, first, static_cast<std::int64_t>(classes_.size()));
        return place;
    }

    const StringVector& classes_;
    Matrix sums_;
    std::vector<char> unknown_;
    std::vector<double> logs_;
};

/// Every column must be a feature, and every feature a column.
void checkColumns(const Model& model, const DataFrame& records) {
    std::unordered_map<WString, int> columns;
    for (const WString& name : records.getColNames()) {
        (void)valueAt(model.featureValueClassCount, name);
        columns.try_emplace(name);
    }
    for (const auto& feature : model.featureValueClassCount) (void)valueAt(columns, feature.first);
}

/// Turns rows of log posteriors into probabilities; the largest and the sums are kept.
void normalize(double* rows, std::size_t numRows, std::size_t width, double* largest,
               double* sums) {
    double* row = rows;
    for (std::size_t i = 0; i < numRows; ++i, row += width) {
        largest[i] = *std::max_element(row, row + width);
        for (std::size_t c = 0; c < width; ++c) row[c] -= largest[i];
    }
    const auto count = static_cast<std::int64_t>(numRows * width);
    Support::exp(rows, rows, count);
    row = rows;
    for (std::size_t i = 0; i < numRows; ++i, row += width) {
        sums[i] = 0.0;
        for (std::size_t c = 0; c < width; ++c) sums[i] += row[c];
        const double factor = 1.0 / sums[i];
        for (std::size_t c = 0; c < width; ++c) row[c] *= factor;
    }
}

}  // namespace

PosteriorProbabilityInfo::PosteriorProbabilityInfo(LogPosterioriInfo info)
    : posteriors(std::move(info.logPosteriors)),
      classIndexes(std::move(info.classIndexes)),
      unknownRows(std::move(info.unknownRows)) {}

LogPosterioriInfo computeLogPosteriori(const Model& model, const DataFrame& records) {
    if (model.state != Model::kProbabilities) return {};
    checkColumns(model, records);
    const StringVector classes = sortedKeys(model.targetCount);
    const StringVector features = sortedKeys(model.featureValueClassCount);
    LogSums sums(records.getNumRows(), classes);
    ProgressPhase phase("Scoring", features.size());
    for (const WString& name : features) {
        sums.add(records(Selection::all, name), valueAt(model.featureValueClassCount, name));
        phase.advance();
    }
    sums.addPriors(model.priorProbs);
    return std::move(sums).take();
}

PosteriorProbabilityInfo computePosteriorProbability(LogPosterioriInfo info,
                                                     bool withLogLikelihood) {
    constexpr std::size_t kBlock = 1024;
    PosteriorProbabilityInfo result(std::move(info));
    const auto width = static_cast<std::size_t>(result.posteriors.getNumCols());
    const auto numRows = static_cast<std::size_t>(result.posteriors.getNumRows());
    if (width == 0) return result;
    if (withLogLikelihood) result.logLikelihoods.resize(numRows);
    std::vector<double> largest(kBlock);
    std::vector<double> sums(kBlock);
    ProgressPhase phase("Normalising", numRows);
    for (std::size_t start = 0; start < numRows; start += kBlock) {
        const std::size_t count = std::min(kBlock, numRows - start);
        normalize(result.posteriors.data() + start * width, count, width, largest.data(),
                  sums.data());
        if (withLogLikelihood) {
            double* const target = result.logLikelihoods.data() + start;
            Support::ln(sums.data(), target, static_cast<std::int64_t>(count));
            Support::add(target, largest.data(), target, static_cast<std::int64_t>(count));
        }
        phase.advance(count);
    }
    return result;
}

PosteriorProbabilityInfo computePosteriorProbability(const Model& model, const DataFrame& records,
                                                     bool withLogLikelihood) {
    return computePosteriorProbability(computeLogPosteriori(model, records), withLogLikelihood);
}

}  // namespace Veltrix::Classification::NaiveBayes::Engine

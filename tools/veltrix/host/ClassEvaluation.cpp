#include "tools/veltrix/host/ClassEvaluation.h"

#include <cmath>
#include <cstdint>
#include <numeric>
#include <unordered_map>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Evaluator/ConfusionMatrix.h"
#include "Veltrix/Evaluator/Metrics.h"
#include "tools/veltrix/host/LiftReport.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

using Counts = std::vector<std::int64_t>;

constexpr std::size_t kMostCurves = 10;  ///< classes in a chart

/// The mean of the numbers without NaN.
double meanOfKnown(const Vector& values) {
    double sum = 0.0;
    double count = 0.0;
    for (const double value : values) {
        if (std::isnan(value)) continue;
        sum += value;
        ++count;
    }
    return sum / count;
}

/// The records of a part that have a prediction, and how they were predicted. Classes are positions
/// among the labels of the data, which hold those of the model.
class PartEvaluation {
  public:
    PartEvaluation(const Prepared& data, const PartScores& found)
        : part_(found.part), classes_(toTexts(found.scores.posteriors.getColNames())) {
        const PartData& part = data.part(found.part);
        const IntVector labels = placeClasses(data.labels, found.scores);
        IntVector predicted;
        IntVector rows;
        for (std::uint64_t i = 0; i < found.scores.predicted.size(); ++i) {
            const int column = found.scores.predicted[i];
            predicted.push_back(column < 0 ? -1 : labels[column]);
            if (column >= 0) rows.push_back(static_cast<int>(i));
        }
        confusion_ = ConfusionMatrix(part.labels, predicted, static_cast<int>(data.labels.size()));
        posteriors_ = Convert::toMatrix(found.scores.posteriors);
        actual_ = Util::bind(columnOf_, part.labels);
        if (rows.size() < actual_.size()) {
            posteriors_ = posteriors_(rows, Selection::all);
            actual_ = Util::bind(actual_, rows);
        }
    }

    std::string_view name() const { return partName(part_); }
    const std::vector<std::string>& classes() const { return classes_; }
    const ConfusionMatrix& confusion() const { return confusion_; }
    /// The column of the model's class that a label is; −1 for a class that trained nowhere.
    int columnOf(std::size_t label) const { return columnOf_[label]; }
    std::int64_t count(std::size_t label, std::size_t column) const {
        return confusion_.count(static_cast<int>(label), labelOf_[column]);
    }
    BinaryCounts oneAgainstRest(std::size_t column) const {
        return confusion_.oneAgainstRest(labelOf_[column]);
    }

    double logLoss() const { return Metrics::logLoss(actual_, posteriors_); }
    double brierScore() const { return Metrics::brierScore(actual_, posteriors_); }
    double brierScore(std::size_t column) const {
        return Metrics::brierScore(outcomes(column), probabilities(column));
    }
    RankedOutcomes ranked(std::size_t column) const {
        return {outcomes(column), probabilities(column)};
    }

  private:
    /// The label of each column.
    IntVector placeClasses(const StringVector& labels, const Scores& scores) {
        std::unordered_map<WString, int> places;
        for (const WString& name : scores.posteriors.getColNames()) {
            places.emplace(name, static_cast<int>(places.size()));
        }
        labelOf_ = IntVector(classes_.size());
        for (std::uint64_t k = 0; k < labels.size(); ++k) {
            const auto place = places.find(labels[k]);
            columnOf_.push_back(place == places.end() ? -1 : place->second);
            if (columnOf_.back() >= 0) labelOf_[columnOf_.back()] = static_cast<int>(k);
        }
        return labelOf_;
    }
    Vector outcomes(std::size_t column) const {
        Vector result(actual_.size());
        for (std::uint64_t i = 0; i < actual_.size(); ++i) {
            result[i] = actual_[i] == static_cast<int>(column) ? 1.0 : 0.0;
        }
        return result;
    }
    Vector probabilities(std::size_t column) const {
        const auto values = posteriors_(Selection::all, static_cast<int>(column)).elements();
        return {values.begin(), values.end()};
    }

    Part part_;
    std::vector<std::string> classes_;
    IntVector columnOf_;
    IntVector labelOf_;
    ConfusionMatrix confusion_;  ///< also of the records without a prediction
    IntVector actual_;           ///< columns, of the records that have one
    Matrix posteriors_;
};

/// How often each actual class (row) was taken for each class of the model (column).
Table& addConfusion(ReportBuilder& report, const StringVector& labels, const PartEvaluation& part) {
    const std::size_t all = labels.size();  // the last row
    const std::size_t columns = part.classes().size();
    std::vector<Counts> counts(columns, Counts(all + 1));
    Counts records(all + 1);
    Counts errors(all + 1);
    Vector percent;
    for (std::size_t row = 0; row < all; ++row) {
        records[row] = part.confusion().numActual(static_cast<int>(row));
        const int own = part.columnOf(row);
        errors[row] = records[row] - (own < 0 ? 0 : part.count(row, static_cast<std::size_t>(own)));
        for (std::size_t j = 0; j < columns; ++j) {
            counts[j][row] = part.count(row, j);
            counts[j][all] += counts[j][row];
        }
        records[all] += records[row];
        errors[all] += errors[row];
    }
    for (std::size_t row = 0; row <= all; ++row) {
        percent.push_back(100.0 * static_cast<double>(errors[row]) /
                          static_cast<double>(records[row]));
    }
    std::vector<std::string> names = toTexts(labels);
    names.emplace_back("All");
    Table& table = report.table(fmt::format("Confusion matrix: {}", part.name()));
    table.text("Actual", std::move(names));
    for (std::size_t j = 0; j < columns; ++j) {
        table.integers(part.classes()[j], std::move(counts[j]));
    }
    table.integers("Records", std::move(records)).integers("Errors", std::move(errors));
    table.series("% Errors", std::move(percent));
    const std::int64_t without = part.confusion().numWithoutPrediction();
    if (without > 0) {
        table.note(
            fmt::format("{} without a prediction; errors count them.", counted(without, "record")));
    }
    return table;
}

/// Each class of the model against the rest, and their mean. Returns the areas under the curves.
Vector addClassMeasures(ReportBuilder& report, const PartEvaluation& part,
                        const std::vector<double>& areas) {
    using Measure = double (BinaryCounts::*)() const noexcept;
    constexpr std::pair<const char*, Measure> kMeasures[] = {
        {"Sensitivity", &BinaryCounts::sensitivity},
        {"Specificity", &BinaryCounts::specificity},
        {"Precision", &BinaryCounts::precision},
        {"F1", &BinaryCounts::F1},
        {"Balanced accuracy", &BinaryCounts::balancedAccuracy},
        {"MCC", &BinaryCounts::MCC}};
    std::vector<std::string> names = part.classes();
    names.emplace_back("Macro average");
    Table& table = report.table(fmt::format("Measures by class: {}", part.name()));
    table.text("Class", std::move(names));
    for (const auto& [heading, measure] : kMeasures) {
        Vector values;
        for (std::size_t j = 0; j < part.classes().size(); ++j) {
            values.push_back((part.oneAgainstRest(j).*measure)());
        }
        values.push_back(part.confusion().macroAverage(measure));
        table.series(heading, std::move(values));
    }
    Vector brier;
    for (std::size_t j = 0; j < part.classes().size(); ++j) brier.push_back(part.brierScore(j));
    brier.push_back(meanOfKnown(brier));
    Vector area(areas.begin(), areas.end());
    area.push_back(meanOfKnown(area));
    table.series("AUC", area).series("Brier score", std::move(brier));
    return area;
}

/// The classes that get curves in a part: the success class, or the first ones, as far as there are
/// both records of them and others.
struct Curves {
    std::vector<NamedRanking> rankings;
    std::vector<double> areas;  ///< of all classes

    Curves(const PartEvaluation& part, const ClassRoles& roles) {
        const std::string success = roles.successClass.toUtf8();
        ProgressPhase phase("Evaluating", part.classes().size());
        for (std::size_t j = 0; j < part.classes().size(); ++j, phase.advance()) {
            RankedOutcomes ranked = part.ranked(j);
            areas.push_back(ranked.area());
            const std::string& name = part.classes()[j];
            const bool wanted = success.empty() ? rankings.size() < kMostCurves : name == success;
            if (!wanted || std::isnan(areas.back())) continue;
            rankings.push_back({name, std::move(ranked)});
        }
    }
};

/// The area of the success class, or the mean of all.
double areaOf(const Vector& areas, const PartEvaluation& part, const ClassRoles& roles) {
    const std::string success = roles.successClass.toUtf8();
    for (std::size_t j = 0; j < part.classes().size() && !success.empty(); ++j) {
        if (part.classes()[j] == success) return areas[j];
    }
    return areas.back();
}

/// One row of the table over all parts.
struct Summary {
    std::vector<std::string> parts;
    Counts records;
    std::vector<Vector> columns = std::vector<Vector>(7);

    void add(const PartEvaluation& part, double area) {
        const ConfusionMatrix& confusion = part.confusion();
        parts.emplace_back(part.name());
        records.push_back(confusion.numRecords());
        const double values[] = {confusion.accuracy(),
                                 confusion.balancedAccuracy(),
                                 confusion.kappa(),
                                 confusion.MCC(),
                                 area,
                                 part.logLoss(),
                                 part.brierScore()};
        for (std::size_t j = 0; j < columns.size(); ++j) columns[j].push_back(values[j]);
    }
    void fill(Table& table, const ClassRoles& roles) && {
        constexpr const char* kNames[] = {"Accuracy", "Balanced accuracy", "Kappa",      "MCC",
                                          "AUC",      "Log loss",          "Brier score"};
        table.text("Part", std::move(parts)).integers("Records", std::move(records));
        for (std::size_t j = 0; j < columns.size(); ++j) {
            table.series(kNames[j], std::move(columns[j]));
        }
        table.note(roles.successClass.empty()
                       ? "AUC: area under the ROC curve, mean over the classes against the rest."
                       : fmt::format("AUC: area under the ROC curve of class {}.",
                                     Tool::quoted(roles.successClass.toUtf8())));
    }
};

}  // namespace

Table* addClassEvaluation(ReportBuilder& report, const Prepared& data, const AllScores& scores,
                          const ClassRoles& roles) {
    std::vector<PartEvaluation> parts;
    Table* first = nullptr;
    for (const PartScores& found : scores) {
        parts.emplace_back(data, found);
        Table& table = addConfusion(report, data.labels, parts.back());
        if (first == nullptr) first = &table;
    }
    Table& measures = report.table("Classification measures");
    Summary summary;
    for (const PartEvaluation& part : parts) {
        const std::string name(part.name());
        const Curves curves(part, roles);
        const Vector areas = addClassMeasures(report, part, curves.areas);
        summary.add(part, areaOf(areas, part, roles));
        addLift(report, name, curves.rankings, {"Lowest P", "Successes", "Share"});
        addGains(report, name, curves.rankings);
        addRocCurves(report, name, curves.rankings);
    }
    std::move(summary).fill(measures, roles);
    return first;
}

}  // namespace Veltrix::Tool

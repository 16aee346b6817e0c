#include "Veltrix/Evaluator/RankedOutcomes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Scored {
    double score;
    double outcome;
};

/// The records with a score, the largest score first.
std::vector<Scored> sorted(const Vector& outcomes, const Vector& scores) {
    std::vector<Scored> records;
    records.reserve(scores.size());
    for (std::uint64_t i = 0; i < scores.size(); ++i) {
        if (!std::isnan(scores[i])) records.push_back({scores[i], outcomes[i]});
    }
    std::sort(records.begin(), records.end(),
              [](const Scored& a, const Scored& b) { return a.score > b.score; });
    return records;
}

}  // namespace

RankedOutcomes::RankedOutcomes(const Vector& outcomes, const Vector& scores) {
    Checks::counts("Ranked outcomes", outcomes.size(), "outcomes", scores.size(), "scores");
    for (std::uint64_t i = 0; i < outcomes.size(); ++i) {
        if (!std::isfinite(outcomes[i])) {
            Checks::fail(ErrorCode::notFinite, "Ranked outcomes",
                         "outcome " + std::to_string(i) + " is not finite");
        }
        binary_ = binary_ && (outcomes[i] == 0.0 || outcomes[i] == 1.0);
    }
    const std::vector<Scored> records = sorted(outcomes, scores);
    numRecords_ = static_cast<std::int64_t>(records.size());
    double total = 0.0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        total += records[i].outcome;
        if (i + 1 < records.size() && records[i + 1].score == records[i].score) continue;
        scores_.push_back(records[i].score);
        counts_.push_back(static_cast<double>(i + 1));
        totals_.push_back(total);
    }
}

void RankedOutcomes::checkBinary(const char* operation) const {
    if (binary_) return;
    Checks::fail(ErrorCode::invalidArgument, operation,
                 "an outcome is neither 0 nor 1, successes and others expected");
}

double RankedOutcomes::area() const {
    checkBinary("Area under the ROC curve");
    const auto successes = static_cast<std::int64_t>(total());
    const std::int64_t others = numRecords_ - successes;
    if (successes == 0 || others == 0) return kNaN;
    // Twice the pairs in order: a success is above all others behind its tie, and level with those
    // within.
    std::int64_t pairs = 0;
    std::int64_t records = 0;
    std::int64_t taken = 0;
    for (std::uint64_t g = 0; g < counts_.size(); ++g) {
        const std::int64_t found = static_cast<std::int64_t>(totals_[g]) - taken;
        const std::int64_t rest = static_cast<std::int64_t>(counts_[g]) - records - found;
        const std::int64_t before = records - taken;
        pairs += found * (2 * (others - before - rest) + rest);
        taken += found;
        records += found + rest;
    }
    return static_cast<double>(pairs) /
           (2.0 * static_cast<double>(successes) * static_cast<double>(others));
}

RocCurve RankedOutcomes::rocCurve(int maxPoints) const {
    checkBinary("ROC curve");
    Checks::notNegative("ROC curve", "number of points", maxPoints);
    RocCurve curve;
    if (numRecords_ == 0) return curve;
    const double successes = total();
    const double others = static_cast<double>(numRecords_) - successes;
    // Lengths along the sides of the steps; the whole curve is 2 long, or 1 when all records are of
    // one kind.
    const double least = maxPoints > 0 ? 2.0 / std::max(1, maxPoints - 2) : 0.0;
    const double perOther = others > 0.0 ? 1.0 / others : 0.0;
    const double perSuccess = successes > 0.0 ? 1.0 / successes : 0.0;
    double last = 0.0;
    const auto add = [&](double cutoff, double records, double found) {
        curve.cutoffs.push_back(cutoff);
        curve.falsePositiveRates.push_back((records - found) / others);
        curve.truePositiveRates.push_back(found / successes);
    };
    add(std::numeric_limits<double>::infinity(), 0.0, 0.0);
    for (std::uint64_t g = 0; g < counts_.size(); ++g) {
        const double length = (counts_[g] - totals_[g]) * perOther + totals_[g] * perSuccess;
        if (length - last < least && g + 1 < counts_.size()) continue;
        last = length;
        add(scores_[g], counts_[g], totals_[g]);
    }
    return curve;
}

double RankedOutcomes::totalOfFirst(std::int64_t count) const {
    Checks::index("Total of the first records", "number", count, numRecords_ + 1);
    if (count == 0) return 0.0;
    const auto records = static_cast<double>(count);
    const auto found = std::lower_bound(counts_.begin(), counts_.end(), records);
    const auto g = static_cast<std::uint64_t>(found - counts_.begin());
    if (*found == records) return totals_[g];
    const double before = g == 0 ? 0.0 : counts_[g - 1];
    const double start = g == 0 ? 0.0 : totals_[g - 1];
    return start + (totals_[g] - start) * ((records - before) / (counts_[g] - before));
}

LiftTable RankedOutcomes::lift(int numGroups) const {
    if (numGroups < 1) {
        Checks::fail(ErrorCode::invalidArgument, "Lift",
                     std::to_string(numGroups) + " groups, at least 1 expected");
    }
    LiftTable table;
    const std::int64_t groups = std::min<std::int64_t>(numGroups, numRecords_);
    const double mean = total() / static_cast<double>(numRecords_);
    // 0/0 where nothing came of any record; a mean of 0 that others cancel to has no lift either.
    const auto liftOf = [mean](double part) { return mean == 0.0 ? kNaN : part / mean; };
    std::int64_t start = 0;
    double before = 0.0;
    for (std::int64_t g = 1; g <= groups; ++g) {
        const std::int64_t end = numRecords_ * g / groups;
        const double so = totalOfFirst(end);
        const auto records = static_cast<double>(end - start);
        const auto place =
            std::lower_bound(counts_.begin(), counts_.end(), static_cast<double>(end));
        table.records.push_back(records);
        table.lowestScores.push_back(scores_[place - counts_.begin()]);
        table.totals.push_back(so - before);
        table.means.push_back((so - before) / records);
        table.lifts.push_back(liftOf((so - before) / records));
        table.cumulativeRecords.push_back(static_cast<double>(end));
        table.cumulativeTotals.push_back(so);
        table.cumulativeShares.push_back(total() == 0.0 ? kNaN : so / total());
        table.cumulativeLifts.push_back(liftOf(so / static_cast<double>(end)));
        start = end;
        before = so;
    }
    return table;
}

}  // namespace Veltrix

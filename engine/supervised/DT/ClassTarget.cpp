#include "engine/supervised/DT/ClassTarget.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace Veltrix::Engine::DT {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();

}  // namespace

/// Sums of squared counts in whole numbers.
class ClassTarget::EqualSides {
  public:
    EqualSides(const int* codes, const std::vector<int>& counts)
        : codes_(codes), left_(counts.size(), 0), right_(counts) {
        for (const int count : counts) rightSquares_ += std::int64_t{count} * count;
    }
    void move(std::uint32_t record) {
        const auto c = static_cast<std::size_t>(codes_[record]);
        leftSquares_ += 2 * std::int64_t{left_[c]++} + 1;
        rightSquares_ -= 2 * std::int64_t{right_[c]--} - 1;
    }
    bool exceeds(std::size_t numLeft, std::size_t numRight, double limit) const {
        const auto l = static_cast<double>(numLeft);
        const auto r = static_cast<double>(numRight);
        return static_cast<double>(leftSquares_) * r + static_cast<double>(rightSquares_) * l >
               limit * (l * r);
    }
    double score(std::size_t numLeft, std::size_t numRight) const {
        return static_cast<double>(leftSquares_) / static_cast<double>(numLeft) +
               static_cast<double>(rightSquares_) / static_cast<double>(numRight);
    }

  private:
    const int* codes_;
    std::vector<int> left_;
    std::vector<int> right_;
    std::int64_t leftSquares_ = 0;
    std::int64_t rightSquares_ = 0;
};

/// Counts by class, weighted anew for every candidate, so that equal counts have equal scores.
class ClassTarget::WeightedSides {
  public:
    WeightedSides(const int* codes, const std::vector<int>& counts,
                  const std::vector<double>& weights)
        : codes_(codes), weights_(weights), left_(counts.size(), 0), right_(counts) {}
    void move(std::uint32_t record) {
        const auto c = static_cast<std::size_t>(codes_[record]);
        ++left_[c];
        --right_[c];
    }
    bool exceeds(std::size_t numLeft, std::size_t numRight, double limit) const {
        return score(numLeft, numRight) > limit;
    }
    double score(std::size_t /*numLeft*/, std::size_t /*numRight*/) const {
        double leftSum = 0.0;
        double leftSquares = 0.0;
        double rightSum = 0.0;
        double rightSquares = 0.0;
        for (std::size_t c = 0; c < weights_.size(); ++c) {
            const double l = weights_[c] * left_[c];
            const double r = weights_[c] * right_[c];
            leftSum += l;
            leftSquares += l * l;
            rightSum += r;
            rightSquares += r * r;
        }
        return leftSquares / leftSum + rightSquares / rightSum;
    }

  private:
    const int* codes_;
    const std::vector<double>& weights_;
    std::vector<int> left_;
    std::vector<int> right_;
};

ClassTarget::ClassTarget(const IntVector& codes, ClassShares shares, LabelRule rule)
    : codes_(codes.data(), codes.size()),
      shares_(std::move(shares)),
      weights_(shares_.equal() ? std::vector<double>(shares_.numClasses(), 1.0)
                               : shares_.weights()),
      rule_(rule) {}

TrainingRecord ClassTarget::makeRecord() const { return {{}, shares_, {}}; }

void ClassTarget::label(Node& node, std::span<const std::int32_t> records,
                        TrainingRecord& training) const {
    const std::size_t start = training.classCounts.size();
    training.classCounts.resize(start + weights_.size(), 0);
    int* counts = training.classCounts.data() + start;
    for (const std::int32_t record : records) ++counts[classOf(record)];

    std::vector<double> probabilities(weights_.size());
    shares_.probabilities(counts, probabilities);
    const auto largest = static_cast<std::size_t>(LabelRule().label(probabilities));
    double squares = 0.0;
    for (const double p : probabilities) squares += p * p;
    node.impurity = 1.0 - squares;
    // (1 − max P(c)) p as the sum of the other classes, which is exactly 0 for a pure node.
    const auto joint = [&](std::size_t c) { return shares_.weights()[c] * counts[c]; };
    node.risk = 0.0;
    for (std::size_t c = 0; c < probabilities.size(); ++c) {
        if (c != largest) node.risk += joint(c);
    }
    node.probability = node.risk + joint(largest);
    node.label = rule_.label(probabilities);
}

double ClassTarget::begin(const Node& node, std::span<const std::int32_t> /*records*/,
                          const TrainingRecord& training) {
    const int* counts = training.countsOf(node);
    nodeCounts_.assign(counts, counts + weights_.size());
    double total = 0.0;
    for (std::size_t c = 0; c < weights_.size(); ++c) total += weights_[c] * nodeCounts_[c];
    const double unit = node.probability / total;  // of the weights in probabilities
    // Every term of a score is rounded by ε of at most the total.
    slack_ =
        (shares_.equal() ? 4.0 : 4.0 * static_cast<double>(weights_.size())) * kEpsilon * total;
    return raised(total - node.impurity / unit);
}

void ClassTarget::sweep(std::span<const SortedColumns::Entry> entries, const SplitData& data,
                        int column, Split& best) const {
    const auto run = [&](auto sides) {
        sweepThresholds(*this, std::move(sides), entries, data, column, best);
    };
    if (shares_.equal()) {
        run(EqualSides(codes_.data(), nodeCounts_));
    } else {
        run(WeightedSides(codes_.data(), nodeCounts_, weights_));
    }
}

double ClassTarget::sideScore(const double* totals) const {
    double sum = 0.0;
    double squares = 0.0;
    for (std::size_t c = 0; c < weights_.size(); ++c) {
        const double weighted = weights_[c] * totals[1 + c];
        sum += weighted;
        squares += weighted * weighted;
    }
    return squares / sum;
}

double ClassTarget::score(const double* left, const double* right) const {
    return sideScore(left) + sideScore(right);
}

double ClassTarget::mean(const double* totals) const {
    const double second = weights_[1] * totals[2];
    return second / (weights_[0] * totals[1] + second);
}

}  // namespace Veltrix::Engine::DT

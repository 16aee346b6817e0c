#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Veltrix/Engine/Roles.h"

namespace Veltrix::Engine::DT {

/// How the records of each class count: n of them are the share prior·n/total of the class, total
/// being its records in the root, and P(c) is that share over the sum of all. Where every class
/// that has records weighs the same, P(c) is the share of the records.
class ClassShares {
  public:
    ClassShares() = default;
    ClassShares(std::vector<double> priors, const std::vector<int>& totals);
    /// With the model's priors as they are now. Throws `Exception` unless there is a total for each
    /// class of the model, and `std::out_of_range` for a class with records but without a prior.
    ClassShares(const Engine::Classification::Priorable& model, const std::vector<int>& totals);

    std::size_t numClasses() const { return priors_.size(); }
    const std::vector<double>& priors() const { return priors_; }
    /// prior/total, 0 for a class without records.
    const std::vector<double>& weights() const { return weights_; }
    /// Whether every class with records has the same weight.
    bool equal() const { return equal_; }
    /// P(c) of a node, written in the order of the classes: exact but for one rounding, so that
    /// equal shares are equal numbers. NaN for a node without any share.
    void probabilities(const int* counts, std::span<double> result) const;

  private:
    std::vector<double> priors_;
    std::vector<double> totals_;
    std::vector<double> weights_;
    bool equal_ = true;
};

/// Which class a node is labelled with: that of largest P(c), the first on ties; of two classes the
/// one that counts as success from probability `cutoff` on, and the other one below it.
struct LabelRule {
    int success = -1;  ///< none
    double cutoff = 0.5;

    LabelRule() = default;
    explicit LabelRule(const Engine::Classification::BinaryTargetCategorizable& model);
    int label(std::span<const double> probabilities) const;
};

}  // namespace Veltrix::Engine::DT

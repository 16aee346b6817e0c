#pragma once

#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/Factorizer.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Engine/DT/Tree.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Engine/Roles.h"
#include "Veltrix/Export.h"

/// @file
/// Binary classification and regression trees (Breiman, Friedman, Olshen and Stone 1984): growth by
/// exhaustive search for the best split, cost-complexity pruning on validation data.
///
/// A tree is grown breadth-first. A continuous split sends records with a value below the threshold
/// left (NaN is never below), a categorical one those whose category code is in the subset. The
/// thresholds tried are the midpoints of neighbouring distinct values, the subsets all that are
/// neither empty nor full. A candidate replaces the best so far only when its measure is greater by
/// more than rounding, so of equal candidates the first wins: in the order of the sampled columns,
/// then ascending thresholds, or subsets in ascending order of their bit masks over the codes.

namespace Veltrix {
class ProgressMeter;
}

namespace Veltrix::Engine::DT {

/// What limits and steers the growth. The limits are 0 until set, which grows a bare root.
struct Params {
    int maxSplits = 0;  ///< splits made at most
    /// Levels below the root at most. The level that counts is that of the node split last: once a
    /// node on the last level but one has split, no further node is split, not even beside it.
    int maxLevels = 0;
    int maxNodes = 0;  ///< nodes at most: a node is split while there are fewer than this − 1
    /// A node with no more records is not split, and no child has fewer, or none.
    int minRecords = 0;
    IntVector categorical = {};  ///< columns that hold categories
    int seed = 12345;            ///< this plus the node count seeds the sample of columns of a node
    int variablesPerSplit = 0;   ///< columns tried at each split; below 1 all of them
};

/// What growth reads, and what it hands to the model.
class Features;
struct GrownTree;
struct InputColumns;
/// Describes trees in JSON.
struct TreeFields;

/// Common part of classification and regression trees: growth, pruning and selection.
///
/// Shapes: features n × p, response length n. A fit throws `Exception` when there is no record or
/// no column, lengths disagree, a response is NaN or infinite, a categorical column does not exist,
/// a cell of one is no code 0, 1, …, or a column has more categories than can be searched (see
/// `Classification::Model`); the model is then as it was before. A missing number (NaN) goes right
/// at every continuous split. A category that was not seen in training, or is missing, goes to the
/// child with more training records, left when both have as many.
///
/// Frames are matched to that of the fit by `FrameColumns`. Text columns are categorical, listed in
/// the parameters or not, columns of numbers when listed. A response beyond 1e150 is refused as
/// well: its squares would overflow. Growth takes O(p n log n) to sort and O(p n) a level; memory
/// beyond the data is about half of it and 200 bytes a node.
class VELTRIX_ENGINE_API Model : public BinaryTree, public JSON::Storable {
  public:
    Model() = default;
    explicit Model(Params params) : params_(std::move(params)) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    ~Model() override;

    const Params& getParams() const noexcept { return params_; }
    /// Takes effect with the next fit.
    virtual Model& setParams(const Params& params);
    /// Names for reports, one a column; a column beyond them is called "X1", "X2", …. A fit on a
    /// frame takes the frame's names.
    virtual Model& setColNames(const StringVector& names);
    const StringVector& getColNames() const noexcept { return colNames_; }
    /// Columns of the training features; 0 before a fit.
    int getNumCols() const noexcept { return static_cast<int>(categories_.size()); }

    /// Grows a tree; the full tree is selected.
    virtual Model& fit(const DataFrame& features, const ConstDataFrameColumn& response) = 0;
    /// Categorical columns hold codes 0, 1, ….
    virtual Model& fit(const Matrix& features, const Vector& response) = 0;

    /// Weakest-link pruning (Breiman et al. 1984, ch. 3): finds the nested sequence of subtrees,
    /// scores each on the validation records and marks the minimum-error tree and the best pruned
    /// tree: the smallest after it such that its error, and those of all trees between, stay below
    ///
    ///     error(minimum) + N s,  s = √(e(1 − e)/N), e = error(minimum)/N, for classes,
    ///                            s = √(error(minimum)/N) for numbers,
    ///
    /// N the number of validation records. The full tree is selected. A class that was not seen in
    /// training counts as predicted wrong. Throws `Exception` when no tree was grown, there is no
    /// record, shapes disagree, or a response is NaN or infinite; the model is then as it was
    /// before. O(nodes · depth + N · depth).
    virtual Model& prune(const DataFrame& features, const ConstDataFrameColumn& response) = 0;
    virtual Model& prune(const Matrix& features, const Vector& response);

    /// Makes a tree of the sequence the one to predict with; an index out of range is ignored.
    virtual Model& select(int index);
    /// For a value that names no kind of tree an `int`, the full tree, is thrown.
    virtual Model& select(DecisionTree::TreeType type);
    /// Selects the first tree with at most that many decision nodes; tree 1 when there is none.
    virtual Model& selectManual(int maxDecisionNodes);

    /// The leaf of the selected tree that a record falls into; empty before growth. Throws as
    /// `findNodes`.
    virtual std::shared_ptr<const Node> findNode(const ConstDataFrameRow& record) const;
    /// The ids of the leaves of all records; 0 before growth. Throws `Exception` when the number of
    /// columns is not that of training, and the bad-cast error for text in a column of numbers.
    IntVector findNodes(const DataFrame& records) const;
    IntVector findNodes(const Matrix& records) const;
    virtual bool isClassification() const = 0;

    const Pruning& getPruning() const noexcept { return pruning_; }
    /// For every column the sum, over the splits on it, of the total risk before the split.
    const Vector& getColumnAccumulators() const noexcept { return accumulators_; }
    /// The total risk of the leaves at first and after each split.
    const Vector& getRiskLog() const noexcept { return riskLog_; }
    /// Categories of a column in the order of their codes; empty for a continuous column and after
    /// a fit on a matrix.
    StringVector getCategories(int column) const;

  protected:
    /// For the models proper, which assign as a whole.
    Model& operator=(const Model&) = default;
    Model& operator=(Model&&) noexcept = default;

    /// What the model predicts at nodes: class indexes, or mean responses.
    virtual Vector predictionsAt(const std::vector<const Node*>& nodes) const = 0;
    /// 0/1 for classes, squared difference for numbers.
    virtual double predictionError(double prediction, double actual) const = 0;
    /// s in the best pruned tree's threshold.
    virtual double computeStdDevMinError() const = 0;
    WString describeBranch(const Node& node, bool left) const override;
    bool isCategorical(int column) const override;

    /// The leaf of the selected tree for every row.
    std::vector<const Node*> findLeaves(const Matrix& records) const;
    std::vector<const Node*> findLeaves(const DataFrame& records) const;
    void checkColumns(const char* operation, int columns) const;
    /// The name of a column in reports.
    WString nameOf(int column) const;
    /// Goes back to the state before growth.
    void forget() noexcept;
    /// Takes a grown tree over. A failure leaves a part of it: for a model that is built aside.
    void adopt(GrownTree tree, InputColumns columns);

    Params params_;
    Factorizer inputs_;  ///< categorical columns of a frame under the names "0", "1", …
    FrameColumns frameColumns_;
    StringVector colNames_;
    /// For each column the codes seen in training, ascending; none for a continuous one.
    std::vector<std::vector<int>> categories_;
    Vector accumulators_;
    Vector riskLog_;
    Pruning pruning_;

  private:
    const Node& child(const Node& node, double value) const;
    Vector fillNumValidationRecords(const std::vector<Node*>& nodes, const Matrix& features,
                                    const Vector& response, ProgressMeter& meter) const;

    friend struct TreeFields;
};

namespace Classification {

/// Classification tree by Gini impurity.
///
/// With the notation of `Node`, a split of node t into L and R has the measure
///
///     i(t) − (p(L) i(L) + p(R) i(R)),   i = 1 − Σ P(c)²,
///
/// p being the probabilities of the children themselves, not their shares of t. The label is the
/// class of largest P(c), the first one on ties; with two classes it is the success class when its
/// probability is at least the cutoff, and the other class otherwise.
///
/// Classes without an order given are the distinct labels, ascending; priors that are not set are
/// the shares of the training records. Both are kept by later fits, as roles keep them. A prior of
/// 0 counts as it stands; a node whose records all have it has no P(c) and is never made. Priors,
/// success class and cutoff set after a fit count from then on wherever P(c) or a label is asked
/// for, pruning, rules and drawings included; the fields of the nodes stay those of the fit. P(c)
/// is rounded once, so that shares that are equal tie and reach a cutoff they are equal to. Queries
/// throw `std::out_of_range` when a class with training records has no prior any more. A column of
/// more than 20 categories is searched in the order of the categories' class shares when there are
/// two classes, which finds the same best measure unless `minRecords` rules it out; with three or
/// more it is refused with an `Exception` that names it.
class VELTRIX_ENGINE_API Model : public DT::Model, public Engine::Classification::Modelable {
  public:
    Model() = default;
    explicit Model(Params params) : DT::Model(std::move(params)) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    using Modelable::fit;
    /// A label outside a class list that was set throws `Exception`.
    Model& fit(const DataFrame& features, const ConstDataFrameColumn& response) override;
    /// The response holds positions in the class list, which becomes "0", "1", … when it is empty.
    Model& fit(const Matrix& features, const Vector& response) override;
    Model& prune(const DataFrame& features, const ConstDataFrameColumn& response) override;
    using DT::Model::prune;
    Model& select(int index) override;
    Model& select(DecisionTree::TreeType type) override;
    Model& selectManual(int maxDecisionNodes) override;
    Model& setParams(const Params& params) override;
    Model& setColNames(const StringVector& names) override;
    /// Renames the classes of a grown tree, their priors and the success class among them; a list
    /// of another length forgets the tree.
    Model& setClasses(const StringVector& classes) override;
    Model& setSuccessClass(const WString& successClass) override;
    Model& setSuccessProbabilityCutoff(double cutoff) override;
    Model& setPrior(const WString& label, double prior) override;
    Model& setPrior(const PriorMap& priors) override;
    bool isClassification() const override { return true; }

    /// P(c) of the leaf of every record, n × classes in the order of the class list. Throws
    /// `Exception` before growth, and as `findNodes`.
    Matrix posteriorProbability(const DataFrame& records) const;
    Matrix posteriorProbability(const Matrix& records) const;
    /// The label of the leaf of every record, "nan" before growth. Throws as `findNodes`.
    StringVector predict(const DataFrame& records) const;
    StringVector predict(const Matrix& records) const;

  protected:
    /// The grown tree with its pruning record and all that its queries need.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    Vector predictionsAt(const std::vector<const Node*>& nodes) const override;
    double predictionError(double prediction, double actual) const override;
    double computeStdDevMinError() const override;
    WString describeLabel(const Node& node) const override;
    double probabilityOfLabel(const Node& node) const override;

  private:
    void grow(const Features& features, const IntVector& codes, const StringVector& classes,
              const IntVector& categorical, InputColumns inputs);
    Matrix posteriors(const std::vector<const Node*>& leaves) const;
    StringVector labels(const std::vector<const Node*>& leaves) const;
};

}  // namespace Classification

namespace Regression {

/// Regression tree by squared error: the label of a node is its mean response, and a split of node
/// t into L and R has the measure risk(t) − (risk(L) + risk(R)). Sums are formed of deviations from
/// the node's mean, so that a shift of the response that keeps its digits changes no split.
///
/// A column of more than 20 categories is searched in the order of the categories' mean responses,
/// which finds the same best measure unless `minRecords` rules it out.
class VELTRIX_ENGINE_API Model : public DT::Model {
  public:
    Model() = default;
    explicit Model(Params params) : DT::Model(std::move(params)) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    Model& fit(const DataFrame& features, const ConstDataFrameColumn& response) override;
    Model& fit(const Matrix& features, const Vector& response) override;
    Model& prune(const DataFrame& features, const ConstDataFrameColumn& response) override;
    using DT::Model::prune;
    Model& select(int index) override;
    Model& select(DecisionTree::TreeType type) override;
    Model& selectManual(int maxDecisionNodes) override;
    Model& setParams(const Params& params) override;
    Model& setColNames(const StringVector& names) override;
    bool isClassification() const override { return false; }

    /// The mean response of the leaf of every record; NaN before growth. Throws as `findNodes`.
    Vector predict(const DataFrame& records) const;
    Vector predict(const Matrix& records) const;

  protected:
    /// The grown tree with its pruning record and all that its queries need.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    Vector predictionsAt(const std::vector<const Node*>& nodes) const override;
    double predictionError(double prediction, double actual) const override;
    double computeStdDevMinError() const override;
    WString describeLabel(const Node& node) const override;

  private:
    void grow(const Features& features, const Vector& response, const IntVector& categorical,
              InputColumns inputs);
};

}  // namespace Regression
}  // namespace Veltrix::Engine::DT

#pragma once

#include <limits>
#include <memory>
#include <vector>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::DT {

/// Records of the training data by node, and their classes, kept once for a whole tree.
struct TrainingRecord;

/// A node of a tree; a leaf when it has no children. Nodes are held by shared pointers.
///
/// Classification, with w(c) = prior(c)/(records of class c in the root) and n(c) the records of
/// class c in the node: p = Σ w(c)n(c) is the probability of the node and P(c) = w(c)n(c)/p that of
/// a class in it.
struct VELTRIX_ENGINE_API Node {
    Node() = default;
    Node(const Node&) = default;
    Node(Node&&) noexcept = default;
    Node& operator=(const Node&) = default;
    Node& operator=(Node&&) noexcept = default;
    /// Takes subtrees apart one node after the other, however deep they are, and allocates nothing.
    ~Node();

    std::shared_ptr<Node> left;    ///< empty for a leaf
    std::shared_ptr<Node> right;   ///< empty for a leaf
    int id = 1;                    ///< 1 for the root, then in the order of creation
    int depth = 0;                 ///< level, 0 for the root
    int leaves = 1;                ///< leaves of the subtree that is left after the cuts
    int numRecords = 0;            ///< training records in the node
    int numValidationRecords = 0;  ///< validation records in the node when last pruned
    int splitVariable = -1;        ///< column of the split, −1 for a leaf
    double label = std::numeric_limits<double>::quiet_NaN();  ///< class index, or mean response
    /// Gini impurity 1 − Σ P(c)²; NaN in regression.
    double impurity = std::numeric_limits<double>::quiet_NaN();
    /// (1 − max P(c)) p, or Σ(y − mean)² over the node's records divided by all training records.
    double risk = std::numeric_limits<double>::quiet_NaN();
    /// Risks of the leaves of the subtree, summed.
    double subtreeRisk = std::numeric_limits<double>::quiet_NaN();
    /// Complexity from which on the node is a leaf, (risk − subtreeRisk)/(leaves − 1): of the tree
    /// as grown, and after pruning of the tree from which the node was cut. Infinite for a leaf.
    double strength = std::numeric_limits<double>::infinity();
    /// Least strength in the subtree; infinite for a leaf and for a node that was cut.
    double minStrength = std::numeric_limits<double>::infinity();
    /// Probability p of the node; NaN in regression.
    double probability = std::numeric_limits<double>::quiet_NaN();
    /// Threshold of a continuous split; NaN otherwise.
    double splitValue = std::numeric_limits<double>::quiet_NaN();
    /// Category codes that go left, ascending; empty for a continuous split.
    std::vector<int> splitSubset;
    /// Where the node's records begin in the tree's list of records.
    int firstRecord = 0;
    std::shared_ptr<const TrainingRecord> training;

    bool isLeaf() const noexcept { return left == nullptr; }
    /// Whether the node is a leaf of the tree pruned to complexity `alpha`.
    bool isLeaf(double alpha) const noexcept { return isLeaf() || alpha >= strength; }
    /// Counts the node as a leaf: one leaf, the subtree's risk its own, no least strength.
    void init() noexcept;
    /// Leaves, risk and strengths of the subtree from those of the two children.
    void update() noexcept;

    /// Training records of the node, ascending.
    IntVector records() const;
    /// Records by class, length = classes; empty in regression.
    Vector classCounts() const;
    /// P(c), length = classes; empty in regression. NaN for a node of probability 0.
    Vector classProbabilities() const;
};

/// The nested sequence of pruned trees, from the full tree (0) to the bare root, and what the
/// validation data say of them. Before the first pruning only tree 0 and tree 1, the grown tree
/// without the splits that gain nothing, are there, without errors.
struct VELTRIX_ENGINE_API Pruning {
    IntVector treeIds;           ///< 0, 1, …
    IntVector numDecisionNodes;  ///< nodes that are no leaves, one entry a tree
    IntVector numLeaves;         ///< decision nodes + 1
    Vector complexity;           ///< from which on a tree is the one to take: −1, 0, then rising
    /// Validation error of each tree: records predicted wrong, or the sum of squared errors; NaN
    /// before pruning.
    Vector errors;
    int numValidationRecords = 0;
    int fullTree = 0;
    int minErrorTree = 0;
    int bestPrunedTree = 0;
    int selectedTree = 0;

    int numTrees() const noexcept { return static_cast<int>(complexity.size()); }
    /// The errors of the tree of that kind; NaN when there is no such tree.
    double minError() const;
    double bestError() const;
    double selectedError() const;
    /// First tree with at most that many decision nodes; 1 when there is none.
    int id(int decisionNodes) const;
    /// The tree of that kind. For a value that names no kind an `int`, the full tree, is thrown.
    int id(DecisionTree::TreeType type) const;
    /// New trees have no decision node, complexity and error NaN.
    void resize(int trees);
    /// Sets `minErrorTree`: the tree of the first least error, moved on while the next tree has
    /// exactly that error; never tree 0.
    void findMinErrorTree();
    /// Sets `bestPrunedTree`: from the minimum-error tree on while the next tree's error stays
    /// below `threshold`.
    void findBestPrunedTree(double threshold);
    /// For d = 0, 1, …, D decision nodes, D those of the full tree: error per validation record of
    /// the first tree with at most d of them. Empty before growth.
    Vector pruningLog() const;
    /// For the same d and trees the complexity, 0 for the trees 0 and 1.
    Vector complexityLog() const;
};

/// A leaf as text: the conditions on the way to it, and what follows from them.
struct Rule {
    int node = 0;  ///< id of the leaf
    /// "Age < 30 and Income >= 2000", of several bounds on one side of a column the tightest; empty
    /// for a bare root.
    WString condition;
    WString outcome;     ///< class label, or mean response
    int numRecords = 0;  ///< training records of the leaf
    /// Of the class; NaN in regression.
    double probability = std::numeric_limits<double>::quiet_NaN();
};

/// A tree and the complexity at which it is looked at. Copies have nodes of their own.
class VELTRIX_ENGINE_API BinaryTree {
  public:
    BinaryTree() = default;
    BinaryTree(const BinaryTree& other);
    BinaryTree(BinaryTree&& other) noexcept;
    BinaryTree& operator=(const BinaryTree& other);
    BinaryTree& operator=(BinaryTree&& other) noexcept;
    virtual ~BinaryTree();

    /// Empty before growth.
    std::shared_ptr<const Node> getRoot() const noexcept { return root_; }
    /// Nodes of the grown tree.
    int getNumNodes() const noexcept { return numNodes_; }
    /// The complexity that stands for the selected tree; see `Node::isLeaf`.
    double getComplexity() const noexcept { return alpha_; }
    /// Leaves and decision nodes of the selected tree; 0 before growth.
    int getNumLeaves() const;
    int getNumDecisionNodes() const;
    /// The nodes of the selected tree in the order of their ids.
    std::vector<std::shared_ptr<const Node>> getNodes() const;
    /// Drawing of the selected tree, one line a node, children indented below their parent, leaves
    /// marked by a star. Numbers are rounded to twelve digits, here and in the rules.
    WString toString() const;
    /// One rule for each leaf of the selected tree, from left to right.
    std::vector<Rule> getRules() const;

  protected:
    /// "Age < 30" for the left branch, "Age >= 30" for the right one; "Kind in {a, b}" and "Kind
    /// not in {a, b}", the latter for the branch that unknown categories take.
    virtual WString describeBranch(const Node& node, bool left) const = 0;
    virtual bool isCategorical(int column) const = 0;
    /// Class label, or mean response.
    virtual WString describeLabel(const Node& node) const = 0;
    /// P of the class that a node is labelled with; NaN in regression.
    virtual double probabilityOfLabel(const Node& node) const;

    /// `Node::update` of every node, children first: leaves, risks and strengths of the whole tree.
    void computeBranchStrength();

    std::shared_ptr<Node> root_;
    int numNodes_ = 0;
    double alpha_ = 0.0;
};

}  // namespace Veltrix::Engine::DT

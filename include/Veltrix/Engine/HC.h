#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::HC {

/// Settings of a fit.
struct Params {
    /// 1 single, 2 complete, 3 group average, 4 weighted average, 5 median, 6 centroid, 7 Ward.
    std::int32_t linkage = 1;
    std::int32_t dissimilarity = 1;  ///< a `DissimilarityType`; 1 with the linkages 5 to 7
    std::int32_t inputType = 1;      ///< 1 records × variables, 2 a distance matrix
};

/// One merge of two clusters. A cluster's label is the number, from 1, of its first record.
struct MergeRecord {
    std::int32_t first = 0;   ///< label of the cluster that survives
    std::int32_t second = 0;  ///< label of the cluster merged into it
    double distance = 0.0;    ///< at which they merged

    friend bool operator==(const MergeRecord&, const MergeRecord&) = default;
};

/// A merging history in the order of its merges.
using MergingHistory = std::vector<MergeRecord>;

/// A tree of clusters to be drawn. Its leaves are the clusters of a cut, numbered from 1 as
/// `Model::predict` numbers them; those of an uncut tree are the records.
struct Dendrogram {
    /// The leaves from left to right, so that no two lines of the drawing cross.
    IntVector leaves;
    /// The merges above the leaves in merge order, `first` the left and `second` the right side,
    /// each by the leaf that gave the side its label; `distance` is the height. It need not
    /// rise: by median and centroid a merge may lie below one of its sides.
    MergingHistory merges;
    /// The records, from 1 and ascending, of leaf 1, leaf 2, ….
    std::vector<IntVector> members;
};

/// Agglomerative hierarchical clustering. Every record starts as a cluster; n − 1 times the two
/// nearest clusters i and j merge, and the distance of any other cluster k to the merged one is
///
///     d(k, i∪j) = a_j d(j,k) + a_i d(i,k) + b d(i,j) + c |d(j,k) − d(i,k)|
///
/// (Lance and Williams 1967, "A general theory of classificatory sorting strategies 1"):
///
///     linkage             a_j                   a_i                   b                   c
///     1 single            ½                     ½                     0                  −½
///     2 complete          ½                     ½                     0                   ½
///     3 group average     n_j/(n_i+n_j)         1 − a_j               0                   0
///     4 weighted average  ½                     ½                     0                   0
///     5 median            ½                     ½                    −¼                   0
///     6 centroid          n_j/(n_i+n_j)         1 − a_j              −n_i n_j/(n_i+n_j)²  0
///     7 Ward              (n_k+n_j)/(n_k+n_i+n_j)  (n_k+n_i)/(n_k+n_i+n_j)  −n_k/(n_k+n_i+n_j)  0
///     any other           0                     1                     0                   0
///
/// The recurrence acts on the distances as they are, not on their squares. Of equally near pairs
/// the one with the smallest label merges first, then with the smallest second label: the order in
/// which `Util::minimum` finds them, each distance being rounded as the formula stands. Distances
/// between records are those of `Util::pairwiseDistance(X, false, dissimilarity)`.
///
/// A fit needs 8·n(n − 1)/2 bytes for the distances beside X, refused beyond `setMemoryLimit`, and
/// usually time in n². Each cluster keeps its nearest later one (Anderberg 1973), looked up anew
/// only when it may be the next to merge. Records none of whose merges are as near to each other as
/// `Util::equal` tells take quicker ways, whose distances differ by rounding only: single linkage
/// by Euclidean distance goes along a minimum spanning tree (Prim 1957) in a few numbers a record;
/// the others, for the dissimilarities 1, 4 and 5, but for median and centroid, merge pairs that
/// are each other's nearest in rounds (Bruynooghe 1977) before any distance is stored. What is near
/// is found in single precision then; a pair merges in a round only where that leaves no doubt.
///
/// A fit throws, and leaves the model as it was,
/// - `HCIncompatibleDissimilarity` for the linkages 5 to 7 with a dissimilarity other than 1;
/// - `HierarchicalClusteringDistanceMatrixInvalid` for a distance matrix that
///   `validateDistanceMatrix` does not find fit (flag 1 with dissimilarity 1, flag 2 otherwise),
///   and when the smallest distance left is infinite or NaN, as records with such values make it.
///   NaN is passed over as long as there are numbers. Of a matrix the upper triangle is used;
/// - `TooFewRecords` for fewer than two records;
/// - `Exception` for an unknown dissimilarity or input type, and for more records than the memory
///   limit allows, with the bytes that they would need, before anything is allocated.
///
/// A fit reports progress. A fitted model may be read from several threads. It cannot place new
/// records: clusters are told of the records of the fit only.
class VELTRIX_ENGINE_API Model : public JSON::Storable {
  public:
    Model() = default;
    explicit Model(const Params& params) : params_(params) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    /// Settings take effect with the next fit.
    Model& setParams(const Params& params);
    Model& setLinkage(std::int32_t linkage);
    Model& setDissimilarity(std::int32_t dissimilarity);
    Model& setInputType(std::int32_t inputType);
    /// Most bytes that a fit may use for distances. What is preset admits 20 000 records. It
    /// belongs to the machine and is not stored with the model.
    Model& setMemoryLimit(std::int64_t bytes);

    Model& fit(const Matrix& x);
    /// Installs a history computed elsewhere. Labels lie in [1, merges + 1]; each merge names two
    /// clusters that no earlier merge has taken up, the first of which survives. Throws `Exception`
    /// for any other, naming the merge, and leaves the model as it was.
    Model& setMergingHistory(const MergingHistory& history);

    /// Number, from 1, of every record's cluster when the tree is cut into k: the first n − k
    /// merges are done and the clusters numbered by ascending label. n is one more than the merges.
    /// Throws `HCTooManyClustersRequested` for k > n, `Exception` for k < 1 and when there is no
    /// history. O(n).
    IntVector predict(int k) const;
    /// The tree above min(k, n) clusters; throws as `predict` for k < 1 and without a history.
    Dendrogram dendrogram(int k) const;

    const Params& getParams() const noexcept { return params_; }
    std::int64_t getMemoryLimit() const noexcept { return memoryLimit_; }
    /// Empty before a fit.
    const MergingHistory& getMergingHistory() const noexcept { return mergingHistory_; }

  protected:
    /// The settings and the history.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    void validate(const Matrix& x) const;

    Params params_;
    MergingHistory mergingHistory_;
    std::int64_t memoryLimit_ = 1'600'000'000;
};

}  // namespace Veltrix::Engine::HC

#pragma once

#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Support {
class RuntimeRandom;
}

namespace Veltrix {
class NearestCentroid;
}

namespace Veltrix::Engine::KMC {

/// Settings of a fit.
struct Params {
    std::int32_t numRandomStarts = 0;  ///< random starts to try, at least 1
    std::int32_t numClusters = 0;      ///< k, at least 1
    std::int32_t maxIterations = 0;    ///< most updates of the centroids; below 1 there is none
    std::int32_t seed = 12345;         ///< of the random numbers
};

/// What the random starts gave; empty when the fit started from given centroids.
struct RandomStartSummary {
    std::vector<Matrix> centroids;  ///< of every start, k × columns
    Vector sumsOfSquares;           ///< within-cluster sum of squares of every start
    double bestSumOfSquares = std::numeric_limits<double>::infinity();
    std::int32_t bestStart = -1;  ///< counted from 0; the first one on ties
};

/// Sizes, distances and sums of squares of a fit; NaN and empty before.
struct ClusterSummary {
    IntVector sizes;         ///< records of each cluster
    Matrix distances;        ///< records × k: Euclidean distance d to every centroid
    Vector averageDistance;  ///< mean d of a cluster's records to its centroid; NaN without records
    /// Mean d of all records to their own centroid.
    double overallAverageDistance = std::numeric_limits<double>::quiet_NaN();
    Vector ssw;  ///< Σ d² over each cluster's records
    double sswTotal = std::numeric_limits<double>::quiet_NaN();  ///< Σ ssw
    double ssb = std::numeric_limits<double>::quiet_NaN();       ///< sst − sswTotal
    double sst = std::numeric_limits<double>::quiet_NaN();       ///< `Util::SST` of the records
    double ssbRatio = std::numeric_limits<double>::quiet_NaN();  ///< ssb/sst
};

/// k-means clustering: divides the records (rows) of X into k clusters by Lloyd's iteration
/// (Lloyd 1982) from the best of several random starts,
///
///     assign each record to its nearest centroid;  move each centroid to the mean of its records.
///
/// A random start takes k records as centroids: record number ⌊s/2¹⁶⌋ mod 2¹⁵ mod n for each draw
/// s ← 214013 s + 2531011 (mod 2³²), the starts following one another in one sequence from the
/// seed. A record may be drawn twice, and those from the 32769th on are never drawn. The start with
/// the least within-cluster sum of squares is iterated until no coordinate of a centroid changes by
/// more than 1e-7 or `maxIterations` updates are done. A cluster that loses its last record has a
/// centroid of zeros from then on and sets `hasEmptyCluster`; with more clusters than records there
/// always is one. Of equally near centroids the first
/// one wins, exactly as `Util::indexesOfRowMin(Util::pairwiseDistance(X, centroids, true))` has it.
///
/// The values are taken as they are: columns on different scales should be scaled before. Equal
/// data and settings give equal results, whatever the storage order. Cost per iteration is about
/// n·k·columns; memory beyond X and the summary's distances about half of X.
///
/// A fit throws `Exception`, and leaves the model as it was, when there is no record or no column,
/// a value is NaN or infinite (naming row and column, from 0), or numClusters or numRandomStarts is
/// below 1. Columns that differ in number from the fit and
/// values that are not finite are refused by the queries as well. A fit reports progress. A fitted
/// model may be read from several threads.
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
    Model& setNumClusters(std::int32_t numClusters);
    Model& setMaxIterations(std::int32_t maxIterations);
    Model& setNumRandomStarts(std::int32_t numRandomStarts);
    Model& setSeed(std::int32_t seed);
    /// The fits that follow start from these k × columns centroids, which sets numClusters to k,
    /// and try no random ones; an empty matrix goes back to random starts.
    Model& setInitialCentroids(const Matrix& centroids);

    Model& fit(const Matrix& x);

    /// Number of the nearest centroid of every record, from 0. Throws `Exception` when the model is
    /// not fitted.
    IntVector predict(const Matrix& x) const;
    /// Euclidean distances, records × k. Throws `Exception` when the model is not fitted.
    Matrix recordToClusterDistance(const Matrix& x) const;
    /// Euclidean distances between all pairs of centroids, k × k; 0 × 0 before a fit.
    Matrix interClusterDistance() const;
    /// Number of records in each of the k clusters. Here and below an assignment outside [0, k)
    /// throws `Exception`.
    IntVector clusterSize(const IntVector& assignment) const;
    /// Total within-cluster sum of squares Σᵢ ‖xᵢ − centroid(assignmentᵢ)‖²; NaN before a fit.
    double SSWT(const Matrix& x, const IntVector& assignment) const;

    const Params& getParams() const noexcept { return params_; }
    const RandomStartSummary& getRandomStartSummary() const noexcept { return randomStarts_; }
    const ClusterSummary& getClusterSummary() const noexcept { return summary_; }
    /// k × columns; empty before a fit.
    const Matrix& getCentroids() const noexcept { return centroids_; }
    /// 1 + the updates that changed the centroids: maxIterations + 1 when the limit ended the fit.
    std::int32_t getNumIterations() const noexcept { return numIterations_; }
    bool isConverged() const noexcept { return converged_; }
    /// Whether a cluster lost all its records at an update.
    bool hasEmptyCluster() const noexcept { return emptyCluster_; }
    /// Of the final assignment.
    const IntVector& getClusterSize() const noexcept { return clusterSize_; }

  protected:
    /// The settings and the fitted model, the distances of its training records included.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    void checkSettings(const Matrix& x) const;
    void checkQuery(const char* operation, const Matrix& x) const;
    void assignRandomCentroids(const Matrix& x, Support::RuntimeRandom& random);
    void randomStart(const Matrix& x, const NearestCentroid& nearest);
    IntVector iterate(const Matrix& x);
    bool recomputeCentroids(const Matrix& x, const IntVector& assignment);
    bool stop(const Matrix& previous) const;
    void computeClusterSummary(const Matrix& x, const IntVector& assignment);

    Params params_;
    Matrix initialCentroids_;
    RandomStartSummary randomStarts_;
    ClusterSummary summary_;
    Matrix centroids_;
    std::int32_t numIterations_ = 0;
    bool converged_ = false;
    bool emptyCluster_ = false;
    IntVector clusterSize_;
};

}  // namespace Veltrix::Engine::KMC

#include "Veltrix/Engine/KMC.h"

#include <algorithm>
#include <array>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/NearestCentroid.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Lines.h"
#include "engine/core/Checks.h"
#include "support/RuntimeRandom.h"
#include "support/kernels/Centroids.h"

namespace Veltrix::Engine::KMC {
namespace {

constexpr const char* kFit = "K-means";

/// Every entry is the number of a cluster.
void checkAssignment(const char* operation, const IntVector& assignment, int numClusters) {
    for (std::uint64_t i = 0; i < assignment.size(); ++i) {
        if (assignment[i] >= 0 && assignment[i] < numClusters) continue;
        Checks::fail(ErrorCode::indexOutOfRange, operation,
                     "record " + std::to_string(i) + " is assigned to cluster " +
                         std::to_string(assignment[i]) + " of " + std::to_string(numClusters));
    }
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model> &&
              std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::setParams(const Params& params) {
    params_ = params;
    return *this;
}

Model& Model::setNumClusters(std::int32_t numClusters) {
    params_.numClusters = numClusters;
    return *this;
}

Model& Model::setMaxIterations(std::int32_t maxIterations) {
    params_.maxIterations = maxIterations;
    return *this;
}

Model& Model::setNumRandomStarts(std::int32_t numRandomStarts) {
    params_.numRandomStarts = numRandomStarts;
    return *this;
}

Model& Model::setSeed(std::int32_t seed) {
    params_.seed = seed;
    return *this;
}

Model& Model::setInitialCentroids(const Matrix& centroids) {
    initialCentroids_ = centroids;
    if (!centroids.empty()) params_.numClusters = centroids.getNumRows();
    return *this;
}

void Model::checkSettings(const Matrix& x) const {
    Checks::notEmpty(kFit, x);
    Checks::atLeast(kFit, "clusters", params_.numClusters, 1);
    if (initialCentroids_.empty()) {
        return Checks::atLeast(kFit, "random starts", params_.numRandomStarts, 1);
    }
    Checks::shape(kFit, "initial centroids", initialCentroids_, params_.numClusters,
                  x.getNumCols());
    Checks::finite("K-means initial centroids", initialCentroids_);
}

void Model::checkQuery(const char* operation, const Matrix& x) const {
    Checks::fitted(operation, !centroids_.empty());
    Checks::columns(operation, x.getNumCols(), centroids_.getNumCols());
    Checks::finite(operation, x);
}

Model& Model::fit(const Matrix& x) {
    checkSettings(x);
    Model fitted(params_);
    fitted.initialCentroids_ = initialCentroids_;
    const IntVector assignment = fitted.iterate(x);
    fitted.clusterSize_ = fitted.clusterSize(assignment);
    fitted.computeClusterSummary(x, assignment);
    *this = std::move(fitted);
    return *this;
}

/// The final assignment.
IntVector Model::iterate(const Matrix& x) {
    const NearestCentroid nearest(x, kFit);
    if (initialCentroids_.empty()) {
        randomStart(x, nearest);
    } else {
        centroids_ = initialCentroids_;
    }
    ProgressPhase phase("Moving the centroids",
                        static_cast<std::uint64_t>(std::max(params_.maxIterations, 0)));
    IntVector assignment;
    nearest.find(centroids_, assignment);
    for (numIterations_ = 1; numIterations_ <= params_.maxIterations; ++numIterations_) {
        const Matrix previous = centroids_;
        if (recomputeCentroids(x, assignment)) emptyCluster_ = true;
        nearest.find(centroids_, assignment);
        converged_ = stop(previous);
        if (converged_) break;
        phase.advance();
    }
    return assignment;
}

void Model::assignRandomCentroids(const Matrix& x, Support::RuntimeRandom& random) {
    const auto numRecords = static_cast<std::uint32_t>(x.getNumRows());
    IntVector records;
    for (int c = 0; c < params_.numClusters; ++c) {
        records.push_back(static_cast<int>(random.next() % numRecords));
    }
    centroids_ = x(records, Veltrix::Util::all);
}

void Model::randomStart(const Matrix& x, const NearestCentroid& nearest) {
    ProgressPhase phase("Trying random starts",
                        static_cast<std::uint64_t>(params_.numRandomStarts));
    Support::RuntimeRandom random(static_cast<std::uint32_t>(params_.seed));
    IntVector assignment;
    for (std::int32_t start = 0; start < params_.numRandomStarts; ++start) {
        assignRandomCentroids(x, random);
        nearest.find(centroids_, assignment);
        const double sumOfSquares = SSWT(x, assignment);
        // The first start counts even if its squares overflow.
        if (start == 0 || sumOfSquares < randomStarts_.bestSumOfSquares) {
            randomStarts_.bestSumOfSquares = sumOfSquares;
            randomStarts_.bestStart = start;
        }
        randomStarts_.centroids.push_back(centroids_);
        randomStarts_.sumsOfSquares.push_back(sumOfSquares);
        phase.advance();
    }
    centroids_ = randomStarts_.centroids[static_cast<std::size_t>(randomStarts_.bestStart)];
}

/// Means of the clusters' records; zeros, and the result true, where there is none.
bool Model::recomputeCentroids(const Matrix& x, const IntVector& assignment) {
    const int numClusters = params_.numClusters;
    const int numCols = x.getNumCols();
    const LineSteps steps(x);
    Matrix sums(numClusters, numCols, MatrixOrderType::rowMajor);
    Kernels::centroids().addToGroups(
        {x.data(), steps.row, steps.column, x.getNumRows(), numCols, assignment.data()},
        sums.data());
    const IntVector sizes = clusterSize(assignment);
    bool anyEmpty = false;
    for (int c = 0; c < numClusters; ++c) {
        const int size = sizes[static_cast<std::uint64_t>(c)];
        if (size == 0) anyEmpty = true;
        for (int j = 0; j < numCols; ++j) centroids_(c, j) = size == 0 ? 0.0 : sums(c, j) / size;
    }
    return anyEmpty;
}

bool Model::stop(const Matrix& previous) const {
    constexpr double kTolerance = 1e-7;
    return centroids_.equalTo(previous, kTolerance);
}

void Model::computeClusterSummary(const Matrix& x, const IntVector& assignment) {
    const auto k = static_cast<std::uint64_t>(params_.numClusters);
    summary_.sizes = clusterSize_;
    summary_.distances = Veltrix::Util::pairwiseDistance(x, centroids_, false);
    summary_.ssw = Vector(k, 0.0);
    summary_.averageDistance = Vector(k, 0.0);
    for (int i = 0; i < x.getNumRows(); ++i) {
        const int cluster = assignment[static_cast<std::uint64_t>(i)];
        const double distance = summary_.distances(i, cluster);
        summary_.ssw.data()[cluster] += distance * distance;
        summary_.averageDistance.data()[cluster] += distance;
    }
    summary_.sswTotal = Veltrix::Util::sum(summary_.ssw);
    summary_.sst = Veltrix::Util::SST(x);
    summary_.ssb = summary_.sst - summary_.sswTotal;
    summary_.ssbRatio = summary_.ssb / summary_.sst;
    summary_.overallAverageDistance = Veltrix::Util::sum(summary_.averageDistance) / x.getNumRows();
    for (std::uint64_t c = 0; c < k; ++c) summary_.averageDistance[c] /= clusterSize_[c];
}

IntVector Model::predict(const Matrix& x) const {
    checkQuery("K-means prediction", x);
    return nearestCentroids(x, centroids_);
}

Matrix Model::recordToClusterDistance(const Matrix& x) const {
    checkQuery("K-means distances", x);
    return Veltrix::Util::pairwiseDistance(x, centroids_, false);
}

Matrix Model::interClusterDistance() const {
    return Veltrix::Util::pairwiseDistance(centroids_, false, DissimilarityType::euclidean);
}

IntVector Model::clusterSize(const IntVector& assignment) const {
    const int numClusters = centroids_.getNumRows();
    checkAssignment("K-means cluster sizes", assignment, numClusters);
    IntVector sizes(static_cast<std::uint64_t>(numClusters));
    for (const int cluster : assignment) ++sizes[static_cast<std::uint64_t>(cluster)];
    return sizes;
}

double Model::SSWT(const Matrix& x, const IntVector& assignment) const {
    const char* operation = "K-means sum of squares";
    if (centroids_.empty()) return std::numeric_limits<double>::quiet_NaN();
    Checks::columns(operation, x.getNumCols(), centroids_.getNumCols());
    Checks::onePerRecord(operation, "assignments", assignment.size(), x.getNumRows());
    checkAssignment(operation, assignment, centroids_.getNumRows());
    constexpr std::int64_t kBlock = 256;
    const LineSteps steps(x);
    const std::int64_t n = x.getNumRows();
    Vector ssw(static_cast<std::uint64_t>(centroids_.getNumRows()), 0.0);
    std::array<double, kBlock> squares{};
    for (std::int64_t first = 0; first < n; first += kBlock) {
        const std::int64_t count = std::min(kBlock, n - first);
        const int* clusters = assignment.data() + first;
        squares.fill(0.0);
        for (int j = 0; j < x.getNumCols(); ++j) {
            const double* values = x.data() + first * steps.row + j * steps.column;
            for (std::int64_t i = 0; i < count; ++i) {
                const double difference = values[i * steps.row] - centroids_(clusters[i], j);
                squares.data()[i] += difference * difference;
            }
        }
        for (std::int64_t i = 0; i < count; ++i) ssw.data()[clusters[i]] += squares.data()[i];
    }
    return Veltrix::Util::sum(ssw);
}

}  // namespace Veltrix::Engine::KMC

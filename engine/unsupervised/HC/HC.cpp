#include "Veltrix/Engine/HC.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"
#include "engine/unsupervised/HC/Agglomeration.h"
#include "engine/unsupervised/HC/Arrangement.h"
#include "engine/unsupervised/HC/History.h"
#include "engine/unsupervised/HC/SpanningTree.h"

namespace Veltrix::Engine::HC {
namespace {

constexpr const char* kFit = "Hierarchical clustering";
constexpr std::int32_t kMedian = 5;
constexpr std::int32_t kWard = 7;
constexpr std::int32_t kEuclidean = 1;
constexpr std::int32_t kDistanceMatrix = 2;

void checkMemory(int records, std::int64_t limit) {
    const std::uint64_t bytes = sizeof(double) * packedSize(records);
    if (std::cmp_less_equal(bytes, limit)) return;
    Checks::fail(ErrorCode::tooLarge, kFit,
                 "the distances of " + std::to_string(records) + " records take " +
                     std::to_string(bytes) + " bytes, at most " + std::to_string(limit) +
                     " expected");
}

/// Quicker ways, which do not know what to do with ties, for records.
std::optional<MergingHistory> mergeWithoutTies(const Matrix& x, DissimilarityType type,
                                               std::int32_t linkage) {
    constexpr std::int32_t kSingle = 1;
    if (linkage == kSingle && type == DissimilarityType::euclidean) return mergeBySpanningTree(x);
    const bool hasCoordinates = type == DissimilarityType::euclidean ||
                                type == DissimilarityType::manhattan ||
                                type == DissimilarityType::maximum;
    return hasCoordinates ? mergeArranged(x, type, linkage) : std::nullopt;
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model> &&
              std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::setParams(const Params& params) {
    params_ = params;
    return *this;
}

Model& Model::setLinkage(std::int32_t linkage) {
    params_.linkage = linkage;
    return *this;
}

Model& Model::setDissimilarity(std::int32_t dissimilarity) {
    params_.dissimilarity = dissimilarity;
    return *this;
}

Model& Model::setInputType(std::int32_t inputType) {
    params_.inputType = inputType;
    return *this;
}

Model& Model::setMemoryLimit(std::int64_t bytes) {
    memoryLimit_ = bytes;
    return *this;
}

void Model::validate(const Matrix& x) const {
    const bool needsGeometry = params_.linkage >= kMedian && params_.linkage <= kWard;
    if (params_.dissimilarity != kEuclidean && needsGeometry) throw HCIncompatibleDissimilarity();
    Veltrix::Checks::enumerator(kFit, "dissimilarity", params_.dissimilarity, 1, 7);
    Veltrix::Checks::enumerator(kFit, "input type", params_.inputType, 1, 2);
    if (params_.inputType == kDistanceMatrix) {
        const int needed = params_.dissimilarity == kEuclidean ? 1 : 2;
        if ((validateDistanceMatrix(x) & needed) == 0) {
            throw HierarchicalClusteringDistanceMatrixInvalid();
        }
    }
    if (x.getNumRows() < 2) throw TooFewRecords();
    checkMemory(x.getNumRows(), memoryLimit_);
}

Model& Model::fit(const Matrix& x) {
    validate(x);
    const bool isGiven = params_.inputType == kDistanceMatrix;
    const auto type = static_cast<DissimilarityType>(params_.dissimilarity);
    std::optional<MergingHistory> history;
    if (!isGiven) history = mergeWithoutTies(x, type, params_.linkage);
    if (!history) {
        history = agglomerate(
            recordsAsClusters(isGiven ? packedUpperTriangle(x) : packedDistances(x, type),
                              x.getNumRows()),
            params_.linkage);
    }
    mergingHistory_ = std::move(*history);
    return *this;
}

Model& Model::setMergingHistory(const MergingHistory& history) {
    const std::size_t fault = firstFault(history);
    if (fault < history.size()) {
        const MergeRecord& merge = history[fault];
        Checks::fail(ErrorCode::invalidArgument, "Merging history",
                     "merge " + std::to_string(fault + 1) + " joins " +
                         std::to_string(merge.first) + " and " + std::to_string(merge.second) +
                         ", two labels of clusters expected");
    }
    mergingHistory_ = MergingHistory(history);
    return *this;
}

IntVector Model::predict(int k) const {
    const char* operation = "Hierarchical clustering prediction";
    Checks::atLeast(operation, "clusters", k, 1);
    if (std::cmp_greater(k, mergingHistory_.size() + 1)) throw HCTooManyClustersRequested();
    Checks::fitted(operation, !mergingHistory_.empty());
    return cutIntoClusters(mergingHistory_, k);
}

Dendrogram Model::dendrogram(int k) const {
    const int leaves = std::min(k, static_cast<int>(mergingHistory_.size()) + 1);
    const IntVector clusters = predict(leaves);
    return drawnTree(mergingHistory_, clusters, leaves);
}

}  // namespace Veltrix::Engine::HC

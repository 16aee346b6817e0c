#include <algorithm>
#include <cstdint>

#include "Veltrix/Engine/KMC.h"
#include "engine/core/Stored.h"

namespace Veltrix {

using Engine::KMC::ClusterSummary;
using Engine::KMC::Model;
using Engine::KMC::Params;
using Engine::KMC::RandomStartSummary;
using Support::Length;

template <>
struct Stored<Params> {
    static void fields(auto& a, auto& params) {
        a("numRandomStarts", params.numRandomStarts)("numClusters", params.numClusters);
        a("maxIterations", params.maxIterations)("seed", params.seed);
    }
};

template <>
struct Stored<RandomStartSummary> {
    static void fields(auto& a, auto& starts) {
        a("centroids", starts.centroids);
        const auto count = static_cast<std::int64_t>(starts.centroids.size());
        a("sumsOfSquares", starts.sumsOfSquares, Length{count});
        a("bestSumOfSquares", starts.bestSumOfSquares)("bestStart", starts.bestStart);
        a.check(
            "bestStart", [&] { return starts.bestStart >= -1 && starts.bestStart < count; },
            "expected one of the starts");
    }
};

template <>
struct Stored<ClusterSummary> {
    static void fields(auto& a, auto& summary) {
        a("sizes", summary.sizes)("distances", summary.distances);
        const auto k = static_cast<std::int64_t>(summary.sizes.size());
        a.check(
            "distances", [&] { return summary.distances.getNumCols() == k; },
            "expected a column for each cluster");
        a("averageDistance", summary.averageDistance, Length{k})("ssw", summary.ssw, Length{k});
        a("overallAverageDistance", summary.overallAverageDistance);
        a("sswTotal", summary.sswTotal)("ssb", summary.ssb)("sst", summary.sst);
        a("ssbRatio", summary.ssbRatio);
    }
};

template <>
struct Stored<Model> {
    static bool areOfShape(const std::vector<Matrix>& starts, const Matrix& centroids) {
        return std::ranges::all_of(starts, [&](const Matrix& start) {
            return start.getNumRows() == centroids.getNumRows() &&
                   start.getNumCols() == centroids.getNumCols();
        });
    }
    static void fields(auto& a, auto& model) {
        a("params", model.params_)("initialCentroids", model.initialCentroids_);
        a("centroids", model.centroids_);
        a("numIterations", model.numIterations_)("converged", model.converged_);
        a("emptyCluster", model.emptyCluster_);
        a("clusterSize", model.clusterSize_, Length{model.centroids_.getNumRows()});
        a.check(
            "clusterSize",
            [&] { return std::ranges::all_of(model.clusterSize_, [](int n) { return n >= 0; }); },
            "expected counts");
        a("randomStarts", model.randomStarts_);
        a.check(
            "randomStarts",
            [&] { return areOfShape(model.randomStarts_.centroids, model.centroids_); },
            "expected centroids of the model's shape");
        a("summary", model.summary_);
        a.check(
            "summary", [&] { return model.summary_.sizes == model.clusterSize_; },
            "expected the sizes of the clusters");
    }
};

namespace Engine::KMC {

namespace {

constexpr const char* kType = "KMC::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::KMC
}  // namespace Veltrix

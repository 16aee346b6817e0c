#include <string>
#include <utility>

#include "Veltrix/Engine/KMC.h"
#include "engine/core/ModelJson.h"
#include "support/Json.h"

namespace Veltrix::Engine::KMC {
namespace {

using Support::JsonView;
using Support::JsonWriter;

constexpr const char* kType = "KMC::Model";

struct SummaryField {
    const char* key;
    double ClusterSummary::*member;
};

constexpr SummaryField kSummaryFields[] = {
    {"overallAverageDistance", &ClusterSummary::overallAverageDistance},
    {"sswTotal", &ClusterSummary::sswTotal},
    {"ssb", &ClusterSummary::ssb},
    {"sst", &ClusterSummary::sst},
    {"ssbRatio", &ClusterSummary::ssbRatio},
};

struct ParamField {
    const char* key;
    std::int32_t Params::*member;
};

constexpr ParamField kParamFields[] = {
    {"numRandomStarts", &Params::numRandomStarts},
    {"numClusters", &Params::numClusters},
    {"maxIterations", &Params::maxIterations},
    {"seed", &Params::seed},
};

/// Counts of at least 0.
IntVector readCounts(const JsonView& list, std::int64_t length) {
    ModelJson::expectSize(list, length);
    IntVector result;
    for (const std::int32_t count : list.asInt32s()) {
        if (count < 0) list.fail("expected counts, found " + std::to_string(count));
        result.push_back(count);
    }
    return result;
}

/// A matrix of the shape that what was read before asks for.
Matrix readMatrix(const JsonView& view, std::int64_t rows, std::int64_t cols) {
    Matrix result = ModelJson::matrix(view);
    if (result.getNumRows() != rows || result.getNumCols() != cols) {
        view.fail("expected " + std::to_string(rows) + " x " + std::to_string(cols) +
                  " values, found " + std::to_string(result.getNumRows()) + " x " +
                  std::to_string(result.getNumCols()));
    }
    return result;
}

void writeStarts(JsonWriter& json, const RandomStartSummary& starts) {
    json.beginObject().key("centroids").beginArray();
    for (const Matrix& centroids : starts.centroids) ModelJson::write(json, centroids);
    json.endArray().member("sumsOfSquares", ModelJson::values(starts.sumsOfSquares));
    json.member("bestSumOfSquares", starts.bestSumOfSquares);
    json.member("bestStart", starts.bestStart).endObject();
}

RandomStartSummary readStarts(const JsonView& view, const Matrix& centroids) {
    RandomStartSummary starts;
    const JsonView list = view.at("centroids");
    for (std::int64_t s = 0; s < list.size(); ++s) {
        starts.centroids.push_back(
            readMatrix(list.at(s), centroids.getNumRows(), centroids.getNumCols()));
    }
    starts.sumsOfSquares = ModelJson::vector(view.at("sumsOfSquares"), list.size());
    starts.bestSumOfSquares = view.at("bestSumOfSquares").asDouble();
    starts.bestStart = view.at("bestStart").asInt32();
    if (starts.bestStart < -1 || starts.bestStart >= list.size()) {
        view.at("bestStart").fail("expected one of the " + std::to_string(list.size()) + " starts");
    }
    return starts;
}

void writeSummary(JsonWriter& json, const ClusterSummary& summary) {
    json.beginObject().member("sizes", ModelJson::values(summary.sizes)).key("distances");
    ModelJson::write(json, summary.distances);
    json.member("averageDistance", ModelJson::values(summary.averageDistance));
    json.member("ssw", ModelJson::values(summary.ssw));
    for (const auto& field : kSummaryFields) json.member(field.key, summary.*field.member);
    json.endObject();
}

ClusterSummary readSummary(const JsonView& view, std::int64_t numClusters) {
    ClusterSummary summary;
    summary.sizes = readCounts(view.at("sizes"), numClusters);
    summary.distances = ModelJson::matrix(view.at("distances"));
    if (summary.distances.getNumCols() != numClusters) {
        view.at("distances").at("cols").fail("expected the number of clusters");
    }
    summary.averageDistance = ModelJson::vector(view.at("averageDistance"), numClusters);
    summary.ssw = ModelJson::vector(view.at("ssw"), numClusters);
    for (const auto& field : kSummaryFields) {
        summary.*field.member = view.at(field.key).asDouble();
    }
    return summary;
}

}  // namespace

WString Model::toJson() const {
    JsonWriter json = ModelJson::begin(kType);
    json.key("params").beginObject();
    for (const auto& field : kParamFields) json.member(field.key, params_.*field.member);
    json.endObject().key("initialCentroids");
    ModelJson::write(json, initialCentroids_);
    json.key("centroids");
    ModelJson::write(json, centroids_);
    json.member("numIterations", numIterations_);
    json.member("converged", converged_).member("emptyCluster", emptyCluster_);
    json.member("clusterSize", ModelJson::values(clusterSize_));
    json.key("randomStarts");
    writeStarts(json, randomStarts_);
    json.key("summary");
    writeSummary(json, summary_);
    return ModelJson::finish(json);
}

void Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kType, json, [](const JsonView& root) {
        Model model;
        const JsonView params = root.at("params");
        for (const auto& field : kParamFields) {
            model.params_.*field.member = params.at(field.key).asInt32();
        }
        model.initialCentroids_ = ModelJson::matrix(root.at("initialCentroids"));
        model.centroids_ = ModelJson::matrix(root.at("centroids"));
        model.numIterations_ = root.at("numIterations").asInt32();
        model.converged_ = root.at("converged").asBool();
        model.emptyCluster_ = root.at("emptyCluster").asBool();
        const int k = model.centroids_.getNumRows();
        model.clusterSize_ = readCounts(root.at("clusterSize"), k);
        model.randomStarts_ = readStarts(root.at("randomStarts"), model.centroids_);
        model.summary_ = readSummary(root.at("summary"), k);
        return model;
    });
}

}  // namespace Veltrix::Engine::KMC

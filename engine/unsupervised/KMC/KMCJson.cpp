#include <span>
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

std::span<const double> values(const Vector& v) { return {v.data(), v.size()}; }
std::span<const std::int32_t> values(const IntVector& v) { return {v.data(), v.size()}; }

void write(JsonWriter& json, const Matrix& matrix) {
    const auto size = static_cast<std::size_t>(matrix.getNumRows()) *
                      static_cast<std::size_t>(matrix.getNumCols());
    json.beginObject().member("rows", matrix.getNumRows()).member("cols", matrix.getNumCols());
    json.member("order", static_cast<int>(matrix.getMatrixOrder()));
    json.member("values", std::span<const double>(matrix.data(), size)).endObject();
}

void expectLength(const JsonView& list, std::int64_t length) {
    if (list.size() == length) return;
    list.fail("expected " + std::to_string(length) + " values, found " +
              std::to_string(list.size()));
}

Vector readVector(const JsonView& list, std::int64_t length) {
    expectLength(list, length);
    Vector result(static_cast<std::uint64_t>(length));
    list.copyDoubles({result.data(), result.size()});
    return result;
}

/// Counts of at least 0.
IntVector readCounts(const JsonView& list, std::int64_t length) {
    expectLength(list, length);
    IntVector result;
    for (const std::int32_t count : list.asInt32s()) {
        if (count < 0) list.fail("expected counts, found " + std::to_string(count));
        result.push_back(count);
    }
    return result;
}

int readDimension(const JsonView& value) {
    const int dimension = value.asInt32();
    if (dimension < 0) value.fail("expected at least 0, found " + std::to_string(dimension));
    return dimension;
}

Matrix readMatrix(const JsonView& view) {
    const int rows = readDimension(view.at("rows"));
    const int cols = readDimension(view.at("cols"));
    const int order = view.at("order").asInt32();
    if (order != 0 && order != 1) view.at("order").fail("expected 0 or 1");
    return {rows, cols, readVector(view.at("values"), std::int64_t{rows} * cols),
            static_cast<MatrixOrderType>(order)};
}

/// A matrix of the shape that what was read before asks for.
Matrix readMatrix(const JsonView& view, std::int64_t rows, std::int64_t cols) {
    Matrix result = readMatrix(view);
    if (result.getNumRows() != rows || result.getNumCols() != cols) {
        view.fail("expected " + std::to_string(rows) + " x " + std::to_string(cols) +
                  " values, found " + std::to_string(result.getNumRows()) + " x " +
                  std::to_string(result.getNumCols()));
    }
    return result;
}

void writeStarts(JsonWriter& json, const RandomStartSummary& starts) {
    json.beginObject().key("centroids").beginArray();
    for (const Matrix& centroids : starts.centroids) write(json, centroids);
    json.endArray().member("sumsOfSquares", values(starts.sumsOfSquares));
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
    starts.sumsOfSquares = readVector(view.at("sumsOfSquares"), list.size());
    starts.bestSumOfSquares = view.at("bestSumOfSquares").asDouble();
    starts.bestStart = view.at("bestStart").asInt32();
    if (starts.bestStart < -1 || starts.bestStart >= list.size()) {
        view.at("bestStart").fail("expected one of the " + std::to_string(list.size()) + " starts");
    }
    return starts;
}

void writeSummary(JsonWriter& json, const ClusterSummary& summary) {
    json.beginObject().member("sizes", values(summary.sizes)).key("distances");
    write(json, summary.distances);
    json.member("averageDistance", values(summary.averageDistance));
    json.member("ssw", values(summary.ssw));
    for (const auto& field : kSummaryFields) json.member(field.key, summary.*field.member);
    json.endObject();
}

ClusterSummary readSummary(const JsonView& view, std::int64_t numClusters) {
    ClusterSummary summary;
    summary.sizes = readCounts(view.at("sizes"), numClusters);
    summary.distances = readMatrix(view.at("distances"));
    if (summary.distances.getNumCols() != numClusters) {
        view.at("distances").at("cols").fail("expected the number of clusters");
    }
    summary.averageDistance = readVector(view.at("averageDistance"), numClusters);
    summary.ssw = readVector(view.at("ssw"), numClusters);
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
    write(json, initialCentroids_);
    json.key("centroids");
    write(json, centroids_);
    json.member("numIterations", numIterations_);
    json.member("converged", converged_).member("emptyCluster", emptyCluster_);
    json.member("clusterSize", values(clusterSize_));
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
        model.initialCentroids_ = readMatrix(root.at("initialCentroids"));
        model.centroids_ = readMatrix(root.at("centroids"));
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

#include "tools/veltrix/families/StoredKMeans.h"

#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"

namespace Veltrix::Tool {

Matrix matrixOf(const NumericSelection& selection) {
    Matrix x;
    for (const Vector& column : selection.columns) x.appendColumn(column);
    return x;
}

std::vector<UsedColumn> StoredKMeans::usedForScoring(const std::string& option) const {
    std::vector<UsedColumn> used;
    for (const std::string& name : columns) used.push_back({option, name});
    return used;
}

std::vector<Column> StoredKMeans::scoreColumns(const NumericSelection& selection,
                                               double /*confidence*/) const {
    // Without rows there are no columns either.
    if (selection.rowsUsed() == 0) return {{"Cluster", std::vector<Value>()}};
    const Matrix x = matrixOf(selection);
    std::vector<Value> clusters;
    for (const int cluster : model.predict(x)) clusters.emplace_back(std::int64_t{cluster} + 1);
    std::vector<Column> scores{{"Cluster", std::move(clusters)}};
    const Matrix distances = model.recordToClusterDistance(x);
    for (int c = 0; c < distances.getNumCols(); ++c) {
        scores.push_back({fmt::format("Distance to {}", c + 1),
                          Convert::toDoubleVector(distances(Util::all, c)), NumberStyle::Series});
    }
    return scores;
}

void StoredKMeans::writeParts(Support::JsonWriter& writer) const {
    writer.member("columns", columns).key("model").json(model.toJson().toUtf8());
}

void StoredKMeans::readParts(const Support::JsonView& root) {
    columns = root.at("columns").asStrings();
    readPart(model, root.at("model"));
    if (model.getCentroids().empty()) root.at("model").fail("not a fitted model");
    const auto expected = static_cast<std::size_t>(model.getCentroids().getNumCols());
    if (columns.size() != expected) {
        root.at("columns").fail(fmt::format("{} columns, expected {}", columns.size(), expected));
    }
}

}  // namespace Veltrix::Tool

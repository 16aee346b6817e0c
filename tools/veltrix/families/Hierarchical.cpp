#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/HC.h"
#include "tools/veltrix/families/DrawnTree.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/DistanceCsv.h"

namespace Veltrix::Tool {

namespace {

using Engine::HC::Dendrogram;
using Engine::HC::MergeRecord;

constexpr const char* kClusters = "--clusters";
constexpr const char* kDistance = "--distance";
constexpr const char* kStandardize = "--standardize";
constexpr const char* kMemory = "--memory-limit";
constexpr const char* kLeaves = "Leaves of the dendrogram";
constexpr const char* kDrawing = "Dendrogram";
constexpr std::int64_t kMegabyte = 1'000'000;

const Choices<int> kLinkages{{"single", 1}, {"complete", 2}, {"average", 3}, {"weighted", 4},
                             {"median", 5}, {"centroid", 6}, {"ward", 7}};
const Choices<int> kDistances{{"euclidean", 1}, {"jaccard", 2}, {"matching", 3},   {"manhattan", 4},
                              {"maximum", 5},   {"cosine", 6},  {"correlation", 7}};

/// Columns of mean 0 and standard deviation 1; throws `UserError` for a constant one.
Matrix standardized(const Prepared& data) {
    Matrix x = data.training().records.x;
    const Vector means = Veltrix::Util::mean(x);
    for (int j = 0; j < x.getNumCols(); ++j) {
        MatrixColumn column = x(Selection::all, j);
        column -= means[static_cast<std::uint64_t>(j)];
        const double length = Veltrix::Util::norm(column, NormType::euclidean, false);
        if (length == 0.0) {
            throw UserError(
                fmt::format("{}: column {} is constant, expected different values", kStandardize,
                            Tool::quoted(data.coding.predictors()[static_cast<std::size_t>(j)])));
        }
        column /= length / std::sqrt(x.getNumRows() - 1.0);
    }
    return x;
}

/// The clusters of a cut and how many rows each has.
struct Cut {
    IntVector clusters;
    IntVector sizes;
};

class Hierarchical : public StoredFamily<Hierarchical>, public OwnInput {
  public:
    FamilyNames names() const override {
        return {"hierarchical", "Joins similar rows step by step into a tree of clusters",
                "hierarchical clustering", "clusters"};
    }
    Needs needs() const override { return {.scores = false}; }

    void options(OptionGroup& own) override {
        own.file(distanceFile_,
                 "CSV file with distances in place of records: a header with the names, a row for "
                 "each, optionally with its name in a first column")
            .excludes("--data")
            .excludes("--columns");
        own.choice("--linkage", params_.linkage,
                   "How far clusters are from each other: single, complete, average, weighted, "
                   "median, centroid or ward",
                   kLinkages)
            .placeholder("LINKAGE");
        own.choice(kDistance, params_.dissimilarity,
                   "How far rows are: euclidean, jaccard, matching, manhattan, maximum, cosine or "
                   "correlation",
                   kDistances)
            .placeholder("DISTANCE")
            .excludes(distanceFile_.option);
        own.flag(kStandardize, standardize_, "Gives the columns mean 0 and standard deviation 1")
            .excludes(distanceFile_.option);
        own.count(kClusters, numClusters_, "Number of clusters to cut the tree into", 1)
            .placeholder("K");
        own.file(drawing_, "Draws the tree into this file (.svg)");
        own.count("--leaves", mostLeaves_, "Most leaves of the drawing; the others are joined", 2)
            .shown(std::to_string(mostLeaves_));
        own.count(kMemory, megabytes_, "Most megabytes for the distances of all pairs", 1)
            .placeholder("MB")
            .shown(std::to_string(megabytes_));
    }

    void checkOptions() const override {
        constexpr int kMedian = 5;
        if (params_.dissimilarity == 1 || params_.linkage < kMedian) return;
        throw UserError(fmt::format("{}: {}, expected euclidean with --linkage {}", kDistance,
                                    nameOf(params_.dissimilarity, kDistances),
                                    nameOf(params_.linkage, kLinkages)));
    }

    void fit(const Prepared& data) override {
        rowNumbers_ = data.training().rowNumbers;
        const Matrix& x = data.training().records.x;
        checkSize(data.option);
        checkRows(x, data.option);
        try {
            cluster(standardize_ ? standardized(data) : x, 1);
        } catch (const Engine::HierarchicalClusteringDistanceMatrixInvalid&) {
            // Every cell is finite.
            throw UserError(
                fmt::format("{}: distances between the rows are beyond the range of "
                            "numbers, expected smaller values",
                            data.option));
        }
    }

    void read() override {
        NamedDistances read = readDistances(distanceFile_.option, distanceFile_.path);
        itemNames_ = std::move(read.names);
        distances_ = std::move(read.distances);
    }
    void fit() override {
        for (std::size_t i = 1; i <= itemNames_.size(); ++i) {
            rowNumbers_.push_back(static_cast<std::int64_t>(i));
        }
        checkSize(distanceFile_.option);
        cluster(distances_, 2);
    }
    const FileOption& file() const override { return distanceFile_; }

    std::string title(const std::string& /*target*/) const override {
        return fmt::format("Hierarchical clusters, {} linkage", nameOf(params_.linkage, kLinkages));
    }

    void summarize(Table& summary, const Prepared& /*data*/) const override {
        summary.entry("Distance", nameOf(params_.dissimilarity, kDistances))
            .entry("Standardized", standardize_ ? "yes" : "no");
        summarizeTree(summary);
    }
    void summarize(Table& summary) const override {
        summary.entry("Items", static_cast<std::int64_t>(itemNames_.size()));
        summarizeTree(summary);
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        addMerges(report);
        if (numClusters_ > 0) {
            const Cut cut = cutTree();
            addClusters(report, cut);
            addMeans(report.table("Cluster means"), cut, data);
            addRows(report.records("Rows and their clusters"), cut);
        }
        addDrawing(report);
    }
    void describe(ReportBuilder& report) const override {
        addMerges(report);
        if (numClusters_ > 0) {
            const Cut cut = cutTree();
            addClusters(report, cut);
            addRows(report.records("Items and their clusters"), cut);
        }
        addDrawing(report);
    }

    std::vector<FileContent> files() const override {
        if (drawing_.path.empty()) return {};
        if (model_.getMergingHistory().empty()) return {{drawing_, {}}};
        return {{drawing_, drawnTree(leavesDrawn()).svg(title({}))}};
    }

    Scores score(const Records& /*records*/, double /*confidence*/) const override { return {}; }
    int numColumns() const override { return 0; }

    static void describeFields(auto& a, auto& self) { storedModel(a, "model", self.model_); }

  private:
    int count() const { return static_cast<int>(rowNumbers_.size()); }

    void checkSize(const std::string& option) const {
        if (count() < 2) {
            throw UserError(
                fmt::format("{}: {}, expected at least 2", option, counted(count(), "row")));
        }
        if (numClusters_ > count()) {
            throw UserError(fmt::format("{}: {}, expected at most the number of rows used, {}",
                                        kClusters, numClusters_, count()));
        }
        const auto bytes = static_cast<std::int64_t>(packedSize(count()) * sizeof(double));
        if (bytes > megabytes_ * kMegabyte) {
            throw UserError(fmt::format(
                "{}: {} MB, expected {} for the {} bytes that the distances of {} rows take",
                kMemory, megabytes_, bytes / kMegabyte + 1, bytes, count()));
        }
    }

    /// Distances must be numbers: by cosine and correlation some rows have none.
    void checkRows(const Matrix& x, const std::string& option) const {
        const auto type = static_cast<DissimilarityType>(params_.dissimilarity);
        const bool angular =
            type == DissimilarityType::cosine || type == DissimilarityType::correlation;
        if (!angular || standardize_) return;
        for (int i = 0; i < x.getNumRows(); ++i) {
            const Matrix row = x(IntVector{i}, Selection::all);
            if (!std::isnan(Veltrix::Util::pairwiseDistance(row, false, type)(0, 0))) continue;
            throw UserError(fmt::format("{}: row {} {}, which has no {} with others", option,
                                        rowNumbers_[static_cast<std::size_t>(i)],
                                        type == DissimilarityType::cosine
                                            ? "is 0 in all columns"
                                            : "has the same value in all columns",
                                        nameOf(params_.dissimilarity, kDistances)));
        }
    }

    void cluster(const Matrix& x, int inputType) {
        params_.inputType = inputType;
        model_.setParams(params_).setMemoryLimit(megabytes_ * kMegabyte).fit(x);
    }

    /// How the report speaks of a record, given its number from 1.
    std::string nameOfRecord(int record) const {
        const auto place = static_cast<std::size_t>(record - 1);
        return itemNames_.empty() ? std::to_string(rowNumbers_[place]) : itemNames_[place];
    }
    void addRecords(Table& table, const std::string& heading,
                    const std::vector<int>& records) const {
        std::vector<std::int64_t> rows;
        std::vector<std::string> names;
        for (const int record : records) {
            rows.push_back(rowNumbers_[static_cast<std::size_t>(record - 1)]);
            if (!itemNames_.empty()) names.push_back(nameOfRecord(record));
        }
        table.integers(heading, std::move(rows));
        if (!itemNames_.empty()) table.text(heading + " name", std::move(names));
    }

    void summarizeTree(Table& summary) const {
        summary.entry("Linkage", nameOf(params_.linkage, kLinkages))
            .entry("Merges", static_cast<std::int64_t>(model_.getMergingHistory().size()));
        if (numClusters_ > 0) summary.entry("Clusters", std::int64_t{numClusters_});
    }

    void addMerges(ReportBuilder& report) const {
        const auto& history = model_.getMergingHistory();
        std::vector<int> firsts;
        std::vector<int> seconds;
        Vector distances;
        std::vector<std::int64_t> sizes;
        std::vector<std::int64_t> left;
        std::vector<std::int64_t> sizeOf(rowNumbers_.size() + 1, 1);
        for (const auto& [first, second, distance] : history) {
            firsts.push_back(first);
            seconds.push_back(second);
            distances.push_back(distance);
            auto& size = sizeOf[static_cast<std::size_t>(first)];
            sizes.push_back(size += sizeOf[static_cast<std::size_t>(second)]);
            left.push_back(count() - static_cast<std::int64_t>(sizes.size()));
        }
        Table& table = report.records("Merges");
        table.counted("Step", history.size());
        addRecords(table, "Cluster", firsts);
        addRecords(table, "Merged cluster", seconds);
        table.series("Distance", std::move(distances))
            .integers("Rows", std::move(sizes))
            .integers("Clusters left", std::move(left))
            .note("A cluster is called after its first row; Rows counts those of both sides.");
        report.chart("Distances of the merges")
            .x("Merges", "Clusters left")
            .y("Merges", "Distance");
    }

    Cut cutTree() const {
        Cut cut{model_.predict(numClusters_),
                IntVector(static_cast<std::uint64_t>(numClusters_), 0)};
        for (const int cluster : cut.clusters) ++cut.sizes[static_cast<std::uint64_t>(cluster - 1)];
        return cut;
    }

    void addClusters(ReportBuilder& report, const Cut& cut) const {
        std::vector<int> firsts(cut.sizes.size(), 0);
        for (std::uint64_t i = cut.clusters.size(); i-- > 0;) {
            firsts[static_cast<std::size_t>(cut.clusters[i] - 1)] = static_cast<int>(i) + 1;
        }
        Table& table = report.table("Clusters");
        table.counted("Cluster", cut.sizes.size()).integers("Rows", cut.sizes);
        addRecords(table, "First row", firsts);
    }

    void addMeans(Table& table, const Cut& cut, const Prepared& data) const {
        const Matrix& x = data.training().records.x;
        Matrix means(numClusters_, x.getNumCols());
        for (int i = 0; i < x.getNumRows(); ++i) {
            const auto cluster =
                static_cast<std::uint64_t>(cut.clusters[static_cast<std::uint64_t>(i)] - 1);
            for (int j = 0; j < x.getNumCols(); ++j) {
                means(static_cast<int>(cluster), j) += x(i, j) / cut.sizes[cluster];
            }
        }
        table.counted("Cluster", cut.sizes.size()).matrix(data.coding.predictors(), means);
        if (standardize_) table.note("Means of the columns as they are in the file.");
    }

    void addRows(Table& table, const Cut& cut) const {
        table.integers("Row", rowNumbers_);
        if (!itemNames_.empty()) table.text("Name", itemNames_);
        table.integers("Cluster", cut.clusters);
    }

    int leavesDrawn() const { return std::min(std::max(mostLeaves_, numClusters_), count()); }

    DrawnTree drawnTree(int leaves) const {
        const Dendrogram tree = model_.dendrogram(leaves);
        IntVector clusters;
        if (numClusters_ > 0) clusters = model_.predict(numClusters_);
        std::vector<DrawnLeaf> drawn;
        for (const int leaf : tree.leaves) {
            const IntVector& members = tree.members[static_cast<std::size_t>(leaf - 1)];
            const auto first = static_cast<std::uint64_t>(members[0] - 1);
            DrawnLeaf& added = drawn.emplace_back();
            added.label = nameOfRecord(members[0]);
            if (members.size() > 1) added.label += fmt::format(" and {} more", members.size() - 1);
            if (!clusters.empty()) added.cluster = clusters[first];
        }
        return {tree, std::move(drawn)};
    }

    void addDrawing(ReportBuilder& report) const {
        const int leaves = leavesDrawn();
        const Dendrogram tree = model_.dendrogram(leaves);
        std::vector<int> firsts;
        std::vector<std::int64_t> sizes;
        for (const int leaf : tree.leaves) {
            const IntVector& members = tree.members[static_cast<std::size_t>(leaf - 1)];
            firsts.push_back(members[0]);
            sizes.push_back(static_cast<std::int64_t>(members.size()));
        }
        Table& table = report.records(kLeaves);
        table.counted("Leaf", tree.leaves.size());
        addRecords(table, "First row", firsts);
        table.integers("Rows", std::move(sizes));
        auto [places, heights] = drawnTree(leaves).path();
        report.chartTable(kDrawing)
            .series("Leaf", std::move(places))
            .series("Distance", std::move(heights));
        report.chart(kDrawing).x(kDrawing, "Leaf").y(kDrawing, "Distance").path();
    }

    Engine::HC::Params params_;
    FileOption distanceFile_{"--distance-matrix", {}};
    FileOption drawing_{"--dendrogram", {}, ".svg"};
    bool standardize_ = false;
    int numClusters_ = 0;  ///< 0 when the tree is not cut
    int mostLeaves_ = 100;
    std::int64_t megabytes_ = 1600;
    std::vector<std::int64_t> rowNumbers_;
    std::vector<std::string> itemNames_;  ///< empty for records
    Matrix distances_;
    Engine::HC::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeHierarchical() { return std::make_unique<Hierarchical>(); }

}  // namespace Veltrix::Tool

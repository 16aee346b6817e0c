#include <algorithm>
#include <cmath>
#include <numeric>

#include <fmt/format.h>

#include "Veltrix/Engine/KMC.h"
#include "support/NumberText.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/GroupChart.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kClusters = "--clusters";

/// Squares of larger values overflow in sums over many rows.
constexpr double kLargest = 1e150;

const char* yesOrNo(bool value) { return value ? "yes" : "no"; }

Vector columnOf(const Matrix& x, int column) {
    const auto cells = x(Selection::all, column).elements();
    return {cells.begin(), cells.end()};
}

class KMeans : public StoredFamily<KMeans> {
  public:
    FamilyNames names() const override {
        return {"kmeans", "Finds clusters of similar rows", "k-means", "clusters", "--clusters 3"};
    }
    Needs needs() const override { return {}; }

    void options(OptionGroup& own) override {
        own.count(kClusters, params_.numClusters, "Number of clusters", 1)
            .placeholder("K")
            .required();
        own.count("--iterations", params_.maxIterations, "Most updates of the centroids")
            .shown(std::to_string(params_.maxIterations));
        own.count("--starts", params_.numRandomStarts, "Random starts to try; the best one is used",
                  1)
            .placeholder("S")
            .shown(std::to_string(params_.numRandomStarts));
        own.seed(seed_);
    }

    void fit(const Prepared& data) override {
        checkSizes(data);
        checkAtMost(kClusters, params_.numClusters, "the number of rows used", data.rowsUsed);
        params_.seed = static_cast<std::int32_t>(seed_);
        model_.setParams(params_).fit(data.training().records.x);
    }

    std::string title(const std::string& /*target*/) const override {
        return fmt::format("{} clusters", params_.numClusters);
    }

    void summarize(Table& summary, const Prepared& /*data*/) const override {
        summary.entry("Clusters", std::int64_t{params_.numClusters})
            .entry("Random starts", std::int64_t{params_.numRandomStarts})
            .entry("Most iterations", std::int64_t{params_.maxIterations})
            .entry("Seed", std::int64_t{seed_});
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        const auto numClusters = static_cast<std::uint64_t>(params_.numClusters);
        const Engine::KMC::ClusterSummary& summary = model_.getClusterSummary();
        addStarts(report);
        addFit(report.table("Fit"));
        report.table("Centroids")
            .counted("Cluster", numClusters)
            .matrix(data.coding.predictors(), model_.getCentroids());
        report.table("Clusters")
            .counted("Cluster", numClusters)
            .integers("Rows", summary.sizes)
            .series("Average distance", summary.averageDistance)
            .series("Sum of squares within", summary.ssw);
        report.table("Distances between centroids")
            .counted("Cluster", numClusters)
            .matrix(numbered("Cluster", params_.numClusters), model_.interClusterDistance());
        const IntVector assignment = model_.predict(data.training().records.x);
        addRecords(report.records("Rows and their clusters"), data, assignment);
        std::vector<std::int64_t> clusters(static_cast<std::size_t>(params_.numClusters));
        std::iota(clusters.begin(), clusters.end(), std::int64_t{1});
        addGroupChart(report,
                      {"Cluster chart",
                       "Clusters",
                       numbered("Cluster", params_.numClusters),
                       {"Cluster", std::move(clusters)}},
                      data.training(), assignment, data.training().records.x,
                      data.coding.predictors());
        report.chart("Random starts")
            .x("Random starts", "Start")
            .y("Random starts", "Sum of squares within clusters");
    }

    Scores score(const Records& records, double /*confidence*/) const override {
        Table table{.title = {}, .columns = {}};
        std::vector<Value> clusters;
        // Without rows there are no columns either.
        if (records.count() > 0) {
            for (const int cluster : model_.predict(records.x)) {
                clusters.emplace_back(std::int64_t{cluster} + 1);
            }
        }
        table.cells("Cluster", std::move(clusters));
        if (records.count() > 0) {
            const Matrix distances = model_.recordToClusterDistance(records.x);
            table.matrix(numbered("Distance to", distances.getNumCols()), distances);
        }
        return {{}, {}, {}, std::move(table.columns)};
    }

    int numColumns() const override {
        const Matrix& centroids = model_.getCentroids();
        return centroids.empty() ? 0 : centroids.getNumCols();
    }

    static void describeFields(auto& a, auto& self) { storedModel(a, "model", self.model_); }

  private:
    static void checkSizes(const Prepared& data) {
        const PartData& all = data.training();
        for (int j = 0; j < all.records.x.getNumCols(); ++j) {
            const Vector values = columnOf(all.records.x, j);
            const auto large =
                std::ranges::find_if(values, [](double x) { return std::fabs(x) > kLargest; });
            if (large == values.end()) continue;
            const std::string& name = data.coding.predictors()[static_cast<std::size_t>(j)];
            const auto row = static_cast<std::size_t>(large - values.begin());
            throw UserError(describeCell({data.option, name}, all.rowNumbers[row],
                                         Support::numberText(*large)) +
                            fmt::format(", expected a number from {} to {}", -kLargest, kLargest));
        }
    }

    void addStarts(ReportBuilder& report) const {
        const Engine::KMC::RandomStartSummary& starts = model_.getRandomStartSummary();
        report.table("Random starts")
            .counted("Start", starts.sumsOfSquares.size())
            .series("Sum of squares within clusters", starts.sumsOfSquares)
            .marked("Remark", starts.sumsOfSquares.size(), starts.bestStart, "best");
    }

    void addFit(Table& table) const {
        const Engine::KMC::ClusterSummary& summary = model_.getClusterSummary();
        // The model's count is one ahead of the updates when the limit ended the fit.
        table
            .entry("Iterations",
                   std::int64_t{model_.getNumIterations()} - (model_.isConverged() ? 0 : 1))
            .entry("Converged", yesOrNo(model_.isConverged()))
            .entry("A cluster lost all its rows", yesOrNo(model_.hasEmptyCluster()))
            .entry("Sum of squares within clusters", summary.sswTotal)
            .entry("Sum of squares between clusters", summary.ssb)
            .entry("Total sum of squares", summary.sst)
            .entry("Between / total", summary.ssbRatio)
            .entry("Average distance to own centroid", summary.overallAverageDistance);
    }

    void addRecords(Table& table, const Prepared& data, const IntVector& assignment) const {
        const Matrix& distances = model_.getClusterSummary().distances;
        std::vector<std::int64_t> clusters;
        Vector own;
        for (const int cluster : assignment) {
            own.push_back(distances(static_cast<int>(clusters.size()), cluster));
            clusters.push_back(cluster + 1);
        }
        table.integers("Row", data.training().rowNumbers)
            .integers("Cluster", std::move(clusters))
            .series("Distance", std::move(own))
            .matrix(numbered("Cluster", distances.getNumCols()), distances)
            .note("Columns named after clusters hold the distances to their centroids.");
    }

    Engine::KMC::Params params_{.numRandomStarts = 10, .numClusters = 0, .maxIterations = 100};
    std::uint32_t seed_ = kDefaultSeed;
    Engine::KMC::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeKMeans() { return std::make_unique<KMeans>(); }

}  // namespace Veltrix::Tool

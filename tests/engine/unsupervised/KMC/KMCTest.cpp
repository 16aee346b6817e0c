// k-means: reference results (see tests/reference/learners/README.md), the quick search for the
// nearest centroid against the plain one, special shapes, bad input, storage.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KMC.h"
#include "support/kernels/Centroids.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::KMC::Model;

const Tolerance kReference{1e-10, 1e-12, NaNRule::EqualsNaN};

Matrix data(const std::string& name, MatrixOrderType order = MatrixOrderType::columnMajor) {
    const CsvData csv("learners/" + name + ".csv");
    return columnsOf(csv, csv.header(), order);
}

void compareFit(const ReferenceData& reference, const Matrix& x) {
    const auto expect = [&](const auto& found, const char* quantity) {
        EXPECT_TRUE(allNear(found, reference.flattened(quantity), kReference)) << quantity;
    };
    Model model({reference.integer("random_starts"), reference.integer("k"),
                 reference.integer("max_iterations"), reference.integer("seed")});
    model.fit(x);
    const auto& starts = model.getRandomStartSummary();
    expect(starts.sumsOfSquares, "start_within_ss");
    EXPECT_EQ(starts.bestStart, reference.integer("best_start"));
    EXPECT_EQ(model.getNumIterations(), reference.integer("iterations"));
    EXPECT_EQ(model.isConverged(), reference.integer("converged") != 0);
    EXPECT_EQ(model.hasEmptyCluster(), reference.integer("empty_cluster") != 0);
    expect(rowsOf(model.getCentroids()), "centroids");
    const IntVector clusters = model.predict(x);
    expect(clusters, "assignment");
    EXPECT_EQ(model.getClusterSize(), model.clusterSize(clusters));
    const auto& summary = model.getClusterSummary();
    expect(summary.sizes, "sizes");
    expect(summary.averageDistance, "average_distance");
    expect(summary.ssw, "within_ss");
    expect(Vector{summary.overallAverageDistance}, "overall_average_distance");
    expect(Vector{summary.sswTotal}, "total_within_ss");
    expect(Vector{model.SSWT(x, clusters)}, "total_within_ss");
    expect(Vector{summary.ssb}, "between_ss");
    expect(Vector{summary.sst}, "total_ss");
    expect(Vector{summary.ssbRatio}, "between_ratio");
    expect(rowsOf(model.interClusterDistance()), "centroid_distances");
    const auto first = static_cast<int>(reference.matrix("first_rows_distances").rows);
    const IntVector rows = Util::range(0, first);
    expect(rowsOf(summary.distances(rows, Util::all)), "first_rows_distances");
    expect(rowsOf(model.recordToClusterDistance(x(rows, Util::all))), "first_rows_distances");
}

TEST(KMC, ReferenceResults) {
    for (const std::string name :
         {"faithful", "rock_kmeans", "ruspini", "usarrests_kmeans", "small_duplicates"}) {
        const ReferenceData reference("learners/" + name + ".kmeans");
        for (const auto order : {MatrixOrderType::columnMajor, MatrixOrderType::rowMajor}) {
            SCOPED_TRACE(name);
            for (const ReferenceData& fit : reference.parts("fits", "k")) {
                compareFit(fit, data(name, order));
            }
        }
    }
}

/// Lloyd's iteration step by step over whole distance matrices.
Matrix plainCentroids(const Matrix& x, Matrix centroids, int updates) {
    for (int update = 0; update < updates; ++update) {
        const IntVector nearest = Util::indexesOfRowMin(Util::pairwiseDistance(x, centroids, true));
        IntVector sizes(static_cast<std::uint64_t>(centroids.getNumRows()));
        centroids = Matrix(centroids.getNumRows(), x.getNumCols());
        for (int i = 0; i < x.getNumRows(); ++i) {
            const int c = nearest[static_cast<std::uint64_t>(i)];
            ++sizes[static_cast<std::uint64_t>(c)];
            for (int j = 0; j < x.getNumCols(); ++j) centroids(c, j) += x(i, j);
        }
        for (int c = 0; c < centroids.getNumRows(); ++c) {
            const int size = sizes[static_cast<std::uint64_t>(c)];
            if (size > 0) centroids(c, Util::all) /= size;
        }
    }
    return centroids;
}

// The quick search gives what whole distance matrices give, to the last bit: with ties, repeated
// records and centroids, an outlier, a far origin, magnitudes beyond single precision.
TEST(KMC, SearchesAsWholeDistanceMatricesDo) {
    const Matrix normals = Util::gaussianMatrix(1000, 5, MatrixOrderType::columnMajor, 0, 1.5, 3);
    Matrix grid = normals;
    for (int i = 0; i < 1000; ++i) {
        for (int j = 0; j < 5; ++j) grid(i, j) = std::round(normals(i, j));
    }
    Matrix outlier = normals;
    outlier(17, 2) = 1e9;
    const Matrix far = grid + Matrix(1000, 5, 1e6);
    for (const Matrix& x : {normals, grid, outlier, far, normals * 1e-160, normals * 1e120}) {
        for (const int k : {1, 2, 3, 7, 40}) {
            Model model({1, k, 0, 77});
            const Matrix start = model.fit(x).getCentroids();
            Model more;
            more.setInitialCentroids(start).setMaxIterations(6).fit(x);
            const int updates = more.getNumIterations() - (more.isConverged() ? 0 : 1);
            EXPECT_TRUE(more.getCentroids().equalTo(plainCentroids(x, start, updates), 0.0)) << k;
        }
    }
}

// The kernels for any processor give what those for this one give.
TEST(KMC, KernelsAgree) {
    const Matrix x = Util::gaussianMatrix(24, 9, MatrixOrderType::columnMajor, 0, 1, 4);
    const std::vector<float> values(x.data(), x.data() + 216);
    const std::vector<float> lengths(24, 5.0F);
    std::vector<int> found[2] = {std::vector<int>(24), std::vector<int>(24)};
    std::vector<int> unsure(24);
    Matrix sums[2] = {Matrix(9, 7), Matrix(9, 7)};
    for (int k = 0; k < 2; ++k) {
        const auto& kernels = k == 1 ? Kernels::centroids() : Kernels::kCentroidsBaseline;
        const Kernels::Screen screen{9,
                                     7,
                                     values.data(),
                                     values.data() + 3,
                                     lengths.data(),
                                     lengths.data(),
                                     lengths.data(),
                                     1e-6F,
                                     1e-30F,
                                     1e-14F,
                                     found[k].data(),
                                     unsure.data()};
        EXPECT_LE(kernels.screen(screen), 1);
        kernels.addToGroups({x.data(), 1, 24, 24, 9, found[k].data()}, sums[k].data());
    }
    EXPECT_EQ(found[0], found[1]);
    EXPECT_TRUE(sums[0].equalTo(sums[1], 0.0));
}

// Start records are drawn with replacement, so that clusters may outnumber the records.
TEST(KMC, MoreClustersThanRecords) {
    const Matrix x(2, 1, Vector{1.0, 5.0});
    const Model model = Model({1, 5, 9, 1}).fit(x);
    EXPECT_TRUE(model.hasEmptyCluster());
    EXPECT_EQ(model.getCentroids().getNumRows(), 5);
    EXPECT_EQ(model.getClusterSummary().sswTotal, 0.0);
    EXPECT_EQ(std::ranges::count(model.getClusterSize(), 0), 3);
    EXPECT_EQ(Util::countNaNInfinity(model.getClusterSummary().averageDistance), 3);
    EXPECT_EQ(Util::minValue(model.getCentroids().getAsDoubleVector()), 0.0);
}

TEST(KMC, MistakesAreNamedAndChangeNothing) {
    const Matrix x = data("ruspini");
    Model model({2, 3, 10, 12345});
    const std::string before = model.fit(x).toJson().toUtf8();
    Matrix nan = x;
    nan(5, 1) = std::nan("");
    const auto refit = [&](int starts, int k) {
        Model(model).setNumRandomStarts(starts).setNumClusters(k).fit(x);
    };
    expectRefused({
        {"0 records", [&] { model.fit(Matrix(0, 2)); }},
        {"0 columns", [&] { model.fit(Matrix(9, 0)); }},
        {"K-means: entry (5, 1) is NaN", [&] { model.fit(nan); }},
        {"entry (5, 1) is NaN", [&] { model.predict(nan); }},
        {"3 columns, 2 expected", [&] { model.predict(Matrix(2, 3)); }},
        {"4 columns, 2 expected", [&] { model.recordToClusterDistance(Matrix(2, 4)); }},
        {"record 0 is assigned to cluster 3", [&] { model.clusterSize(IntVector(2, 3)); }},
        {"assigned to cluster -1", [&] { model.SSWT(Matrix(1, 2), IntVector(1, -1)); }},
        {"2 assignments, 1 expected", [&] { model.SSWT(Matrix(1, 2), IntVector(2)); }},
        {"0 clusters, at least 1", [&] { refit(1, 0); }},
        {"0 random starts", [&] { refit(0, 3); }},
        {"2 x 3, 2 x 2 expected", [&] { Model().setInitialCentroids(Matrix(2, 3)).fit(x); }},
        {"not fitted", [&] { Model().predict(x); }},
        {"not fitted", [&] { Model().recordToClusterDistance(x); }},
    });
    EXPECT_EQ(model.toJson().toUtf8(), before);
    // A flag of one fit is gone with the next.
    model.setInitialCentroids(Matrix(2, 2, Vector{0, 0, 0, 0})).setMaxIterations(1).fit(x);
    EXPECT_TRUE(model.hasEmptyCluster());
    EXPECT_FALSE(model.setMaxIterations(0).fit(x).hasEmptyCluster());
    EXPECT_TRUE(std::isnan(Model().SSWT(x, IntVector(75))));
    EXPECT_TRUE(Model().interClusterDistance().empty());
}

TEST(KMC, StoredModelsAnswerAlike) {
    const Matrix x = data("usarrests_kmeans");
    Model given;
    given.setInitialCentroids(x(Util::range(0, 3), Util::all)).setMaxIterations(3).fit(x);
    for (const Model& model : {Model({3, 4, 20, 5}).fit(x), given, Model({1, 2, 3, 4})}) {
        Model restored;
        restored.fromJsonString(model.toJson());
        Model(restored).setInitialCentroids({}).setNumRandomStarts(2).fit(x);
        EXPECT_EQ(restored.toJson().toUtf8(), model.toJson().toUtf8());
        if (model.getCentroids().empty()) continue;
        EXPECT_EQ(restored.predict(x), model.predict(x));
    }
    expectDamageRefused(given, {{"clusterSize\":[", "clusterSize\":[1,", "clusterSize"},
                                {"bestStart\":-1", "bestStart\":0", "bestStart"},
                                {"cols\":4", "cols\":5", "initialCentroids"}});
}

}  // namespace
}  // namespace Veltrix::Testing

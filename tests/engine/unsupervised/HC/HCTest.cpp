// Hierarchical clustering: reference results (see tests/reference/learners/README.md), the fast
// ways against the rule as it is written, cuts and trees, bad input.
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Data/PackedDistances.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/Exceptions.h"
#include "Veltrix/Engine/HC.h"
#include "support/kernels/ClusterRows.h"
#include "support/kernels/LinkageUpdates.h"
#include "tests/data/RandomValues.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::HC::Dendrogram;
using Engine::HC::MergeRecord;
using Engine::HC::MergingHistory;
using Engine::HC::Model;
using Engine::HC::Params;

Matrix data(const std::string& name) {
    const CsvData csv("learners/" + name + ".csv");
    return columnsOf(csv, csv.header());
}

/// Labels must agree, distances within the tolerance.
void expectHistory(const MergingHistory& actual, const MergingHistory& expected,
                   const Tolerance& tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t m = 0; m < actual.size(); ++m) {
        ASSERT_EQ(actual[m].first, expected[m].first) << m;
        ASSERT_EQ(actual[m].second, expected[m].second) << m;
        ASSERT_TRUE(isNear(actual[m].distance, expected[m].distance, tolerance)) << m;
    }
}

TEST(HC, ReferenceResults) {
    const std::pair<const char*, int> cases[] = {
        {"eurodist", 2}, {"swiss_hc", 1}, {"usarrests_hc", 1}};
    for (const auto& [name, input] : cases) {
        const ReferenceData reference(std::string("learners/") + name + ".hierarchical");
        for (const ReferenceData& item : reference.parts("linkages", "linkage")) {
            const int linkage = item.integer("linkage");
            SCOPED_TRACE(std::string(name) + " " + std::to_string(linkage));
            const Model model = Model({linkage, 1, input}).fit(data(name));
            const Table merges = item.matrix("merges");
            MergingHistory expected;
            for (std::size_t m = 0; m < merges.rows; ++m) {
                expected.push_back(
                    {static_cast<int>(merges(m, 0)), static_cast<int>(merges(m, 1)), merges(m, 2)});
            }
            expectHistory(model.getMergingHistory(), expected, {1e-12, 0.0});
            for (const ReferenceData& cut : item.parts("cuts", "k")) {
                EXPECT_TRUE(allNear(model.predict(cut.integer("k")), cut.vector("cluster"), {}));
            }
        }
    }
}

/// d(k, i∪j) from d(j, k), d(i, k), d(i, j) and the sizes.
double updated(int linkage, double jk, double ik, double ij, int ni, int nj, int nk) {
    const double n = ni + nj;
    double aj = 0.5;
    double ai = 0.5;
    double b = 0.0;
    double c = 0.0;
    if (linkage == 1) c = -0.5;
    if (linkage == 2) c = 0.5;
    if (linkage == 3 || linkage == 6) aj = nj / n, ai = 1.0 - nj / n;
    if (linkage == 5) b = -0.25;
    if (linkage == 6) b = -(ni * nj) / (n * n);
    if (linkage == 7) aj = (nk + nj) / (nk + n), ai = (nk + ni) / (nk + n), b = -nk / (nk + n);
    if (linkage > 7) aj = 0.0, ai = 1.0;
    return aj * jk + ai * ik + b * ij + c * std::fabs(jk - ik);
}

/// The rule as it is written: the smallest entry of the whole matrix, n − 1 times.
MergingHistory plainHistory(Matrix d, int linkage) {
    MergingHistory history;
    IntVector labels = Util::range(1, d.getNumRows() + 1);
    IntVector sizes(labels.size(), 1);
    while (d.getNumRows() > 1) {
        int i = 0;
        int j = 0;
        const double least = Util::minimum(d, i, j);
        const auto first = static_cast<std::uint64_t>(i);
        const auto second = static_cast<std::uint64_t>(j);
        history.push_back({labels[first], labels[second], least});
        for (int k = 0; k < d.getNumRows(); ++k) {
            if (k == i || k == j) continue;
            d(i, k) = d(k, i) = updated(linkage, d(j, k), d(i, k), least, sizes[first],
                                        sizes[second], sizes[static_cast<std::uint64_t>(k)]);
        }
        sizes[first] += sizes[second];
        sizes.remove(second);
        labels.remove(second);
        d = d(Util::except(j), Util::except(j));
    }
    return history;
}

// All linkages, records and matrices, with ties and without, equal the rule as it is written: to
// the last bit, but for records without ties.
TEST(HC, MergesAsTheRuleIsWritten) {
    const Matrix normals = normalMatrix(150, 3, MatrixOrderType::columnMajor, 5);
    Matrix clouds = normalMatrix(260, 10, MatrixOrderType::rowMajor, 3);  // merged in rounds
    for (int i = 0; i < 260; ++i) clouds(i, 4) = 1e3 * (i % 7) + clouds(i, 4);
    Matrix halves = normals;  // repeated distances that are not whole numbers
    for (int i = 0; i < 150; ++i) halves(i, i % 3) = halves((i * 7 + 3) % 150, i % 3);
    const Matrix inputs[] = {
        Matrix(70, 2, smallIntegers(140, 2, 6)),  // a grid with many records on each place
        Matrix(60, 3, smallIntegers(180, 4, 7), MatrixOrderType::rowMajor),
        normals,
        normals * 1e-9,
        clouds,
        halves,
        normalMatrix(130, 900, MatrixOrderType::columnMajor, 8),  // several blocks of distances
        Matrix(2, 1, Vector{3.0, 4.0}),
        Matrix(9, 1, Vector{5, 4, 3, 2, 1, 0, -1, -2, -3}),
    };
    for (const Matrix& x : inputs) {
        for (int type = 1; type <= 5; ++type) {
            const Matrix d = Util::pairwiseDistance(x, false, DissimilarityType{type});
            const Vector packed = packedDistances(x, DissimilarityType{type});
            EXPECT_EQ(packed, packedUpperTriangle(d));
            for (int linkage = 1; linkage <= 8; ++linkage) {
                if (type > 1 && linkage >= 5 && linkage <= 7) continue;
                SCOPED_TRACE(std::to_string(linkage) + " " + std::to_string(type));
                const MergingHistory plain = plainHistory(d, linkage);
                expectHistory(Model({linkage, type, 1}).fit(x).getMergingHistory(), plain,
                              {1e-12, 0.0});
                expectHistory(Model({linkage, type, 2}).fit(d).getMergingHistory(), plain,
                              {0.0, 0.0});
            }
        }
    }
}

// Distances far from any geometry: the triangle inequality does not hold, some are missing, some
// records are infinitely far; merges by median and centroid lie below earlier ones.
TEST(HC, MergesMatricesOfAnyKind) {
    const int n = 80;
    const Vector values = normals(n * n, 9);
    Matrix odd(n, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < i; ++j) {
            const double value = std::exp(values[static_cast<std::uint64_t>(i * n + j)]);
            odd(i, j) = odd(j, i) = (i + j) % 3 == 0 ? std::round(value) : value;
        }
    }
    Matrix gaps = odd;
    gaps(3, 1) = gaps(1, 3) = gaps(40, 70) = kNaN;
    int reversals = 0;
    for (int linkage = 1; linkage <= 7; ++linkage) {
        SCOPED_TRACE(linkage);
        const MergingHistory history = Model({linkage, 1, 2}).fit(odd).getMergingHistory();
        expectHistory(history, plainHistory(odd, linkage), {0.0, 0.0});
        for (std::size_t m = 1; m < history.size(); ++m) {
            reversals += history[m].distance < history[m - 1].distance * (1 - 1e-9) ? 1 : 0;
        }
        // NaN ends in a distance that is none, after merges that pass it over.
        EXPECT_THROW(Model({linkage, 1, 2}).fit(gaps),
                     Engine::HierarchicalClusteringDistanceMatrixInvalid);
    }
    EXPECT_GT(reversals, 5);
    // The other linkage forgets the cluster that is taken up, and with it the distance that is not
    // there.
    Matrix forgotten(3, 3, Vector{9, 1, 2, 1, 9, kNaN, 2, kNaN, 9});
    EXPECT_THROW(Model({9, 4, 2}).fit(forgotten), Exception);
    Matrix zero(4, 4);
    expectHistory(Model({7, 1, 2}).fit(zero).getMergingHistory(),
                  {{1, 2, 0.0}, {1, 3, 0.0}, {1, 4, 0.0}}, {0.0, 0.0});
}

// The kernels for any processor give what those for this one give.
TEST(HC, KernelsAgree) {
    const Vector values = normals(150, 4);
    Vector results[2] = {values, values};
    const Kernels::NearestTwo<double> found =
        Kernels::clusterRows<double>().nearestTwo(149, values.data());
    const auto least = std::min_element(values.begin(), values.end() - 1);
    EXPECT_EQ(found.place, least - values.begin());
    const auto other = Kernels::kClusterRowsBaseline.nearestTwo(149, values.data());
    EXPECT_EQ((std::vector{found.least, found.second, static_cast<double>(found.place)}),
              (std::vector{other.least, other.second, static_cast<double>(other.place)}));
    for (int k = 0; k < 2; ++k) {
        const auto& kernels = k == 0 ? Kernels::linkageUpdates() : Kernels::kLinkageUpdatesBaseline;
        kernels.update(37, results[k].data(), values.data() + 40, {0.3, 0.7, -0.1, 0.5});
        kernels.updateByWard(37, results[k].data() + 75, values.data() + 40, values.data() + 3,
                             {3.0, 2.0, 0.7});
    }
    EXPECT_EQ(results[0], results[1]);
}

TEST(HC, CutsAndTrees) {
    const MergingHistory history{{2, 5, 1.0}, {1, 4, 2.0}, {2, 3, 2.5}, {1, 2, 4.0}};
    Model model;
    model.setMergingHistory(history);
    EXPECT_EQ(model.predict(5), Util::range(1, 6));
    EXPECT_EQ(model.predict(3), (IntVector{1, 2, 3, 1, 2}));
    EXPECT_EQ(model.predict(2), (IntVector{1, 2, 2, 1, 2}));
    EXPECT_EQ(model.predict(1), IntVector(5, 1));
    const Dendrogram whole = model.dendrogram(9);
    EXPECT_EQ(whole.leaves, (IntVector{1, 4, 2, 5, 3}));
    EXPECT_EQ(whole.merges, history);
    EXPECT_EQ(whole.members[3], IntVector(1, 4));
    const Dendrogram cut = model.dendrogram(3);
    EXPECT_EQ(cut.leaves, (IntVector{1, 2, 3}));
    EXPECT_EQ(cut.merges, (MergingHistory{{2, 3, 2.5}, {1, 2, 4.0}}));
    EXPECT_EQ(cut.members, (std::vector<IntVector>{{1, 4}, {2, 5}, {3}}));
    // A history from elsewhere may keep the larger label.
    model.setMergingHistory({{3, 1, 1.0}, {2, 3, 2.0}});
    EXPECT_EQ(model.predict(2), (IntVector{2, 1, 2}));
    EXPECT_EQ(model.dendrogram(3).leaves, (IntVector{2, 3, 1}));
}

TEST(HC, MistakesAreNamedAndChangeNothing) {
    const Matrix x = data("usarrests_hc");
    Model model;
    const std::string before = model.fit(x).toJson().toUtf8();
    Matrix nan = x;
    nan(7, 2) = kNaN;
    const Matrix negative(2, 2, Vector{0, -1, -1, 0});
    const Matrix lopsided(2, 2, Vector{0, 1, 2, 0});
    const Matrix diagonal(2, 2, Vector{1, 1, 1, 1});
    const Matrix wide(20001, 1);
    const auto fit = [&](int linkage, int dissimilarity, int input, const Matrix& from) {
        Model copy = model;
        try {
            copy.setParams({linkage, dissimilarity, input}).fit(from);
        } catch (...) {
            EXPECT_EQ(copy.setParams({}).toJson().toUtf8(), before);
            throw;
        }
    };
    const auto join = [&](int first, int second) {
        model.setMergingHistory({{1, 2, 1.0}, {first, second, 2.0}});
    };
    const char* const invalid = "Distance matrix is not valid";
    expectRefused({
        {"Euclidean metric only", [&] { fit(5, 2, 1, x); }},
        {"Euclidean metric only", [&] { fit(7, 4, 2, x); }},
        {invalid, [&] { fit(1, 1, 2, x); }},
        {invalid, [&] { fit(1, 1, 2, Matrix()); }},
        {invalid, [&] { fit(2, 1, 2, negative); }},
        {invalid, [&] { fit(2, 4, 2, lopsided); }},
        {invalid, [&] { fit(2, 1, 2, diagonal); }},
        {invalid, [&] { fit(1, 1, 1, nan); }},
        {invalid, [&] { fit(3, 4, 1, nan); }},
        {invalid, [&] { fit(3, 1, 1, x * 1e200); }},
        {"Too few records", [&] { fit(3, 1, 1, Matrix(1, 4)); }},
        {"Too few records", [&] { fit(1, 1, 1, Matrix()); }},
        {"Too few records", [&] { fit(1, 1, 2, Matrix(1, 1)); }},
        {"1600080000 bytes", [&] { fit(1, 1, 1, wide); }},
        {"9800 bytes, at most 9799", [&] { Model(model).setMemoryLimit(9799).fit(x); }},
        {"dissimilarity 8", [&] { fit(1, 8, 1, x); }},
        {"input type 3", [&] { fit(1, 1, 3, x); }},
        {"cannot exceed number of records", [&] { (void)model.predict(51); }},
        {"0 clusters, at least 1", [&] { (void)model.predict(0); }},
        {"-1 clusters, at least 1", [&] { (void)model.dendrogram(-1); }},
        {"not fitted", [&] { (void)Model().predict(1); }},
        {"not fitted", [&] { (void)Model().dendrogram(3); }},
        {"merge 2 joins 0 and 1", [&] { join(0, 1); }},
        {"merge 2 joins 3 and 3", [&] { join(3, 3); }},
        {"merge 2 joins 1 and 4", [&] { join(1, 4); }},
        {"merge 2 joins 1 and 2", [&] { join(1, 2); }},
    });
    EXPECT_NO_THROW(fit(2, 4, 2, diagonal));
    EXPECT_EQ(model.toJson().toUtf8(), before);
    expectDamageRefused(model, {{"{\"first\":15,", "{\"first\":0,", "mergingHistory"},
                                {"\"second\":29", "\"second\":15", "mergingHistory"},
                                {"\"linkage\":1", "\"linkage\":\"one\"", "linkage"}});
}

}  // namespace
}  // namespace Veltrix::Testing

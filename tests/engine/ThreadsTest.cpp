// Fits on several threads do not disturb each other, and a fitted model may be asked from all of
// them. The thread sanitizer runs this.
#include <cstdint>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"

namespace Veltrix::Testing {
namespace {

constexpr int kThreads = 3;

/// Calls the action on every thread with its number.
template <class Action>
void onThreads(const Action& action) {
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back([&action, t] { action(t); });
    for (std::thread& thread : threads) thread.join();
}

struct Data {
    Matrix x = Util::gaussianMatrix(400, 4, MatrixOrderType::columnMajor, 0.0, 1.0, 5);
    Vector y = Convert::toDoubleVector(x(Selection::all, 0));
};

/// What each family makes of the data, with a seed where it takes one.
std::vector<Vector> results(const Data& data, int seed) {
    Engine::DT::Params growth;
    growth.maxSplits = growth.maxLevels = growth.maxNodes = 40;
    growth.variablesPerSplit = 2;
    growth.seed = seed;
    Engine::DT::Regression::Model tree(growth);
    tree.fit(data.x, data.y).prune(data.x, data.y);
    Engine::KMC::Model clusters({3, 5, 20, seed});
    clusters.fit(data.x);
    Engine::LinearModel::OLS::Model line;
    line.fit(data.x, data.y, true);
    Engine::Sampling::ScalableSRS sampler(400, 40);
    sampler.setSeed(static_cast<unsigned>(seed));
    Vector sample;
    for (const int row : sampler.sample()) sample.push_back(row);
    return {tree.predict(data.x), clusters.getCentroids().getAsDoubleVector(), line.predict(data.x),
            sample};
}

void expectSame(const std::vector<Vector>& a, const std::vector<Vector>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t k = 0; k < a.size(); ++k) {
        ASSERT_EQ(a[k].size(), b[k].size());
        for (std::uint64_t i = 0; i < a[k].size(); ++i) EXPECT_EQ(a[k][i], b[k][i]) << k;
    }
}

TEST(Threads, FitsDoNotDisturbEachOther) {
    const Data data;
    std::vector<std::vector<Vector>> found(kThreads);
    onThreads([&](int t) { found[static_cast<std::size_t>(t)] = results(data, 100 + t); });
    for (int t = 0; t < kThreads; ++t) {
        expectSame(found[static_cast<std::size_t>(t)], results(data, 100 + t));
    }
}

TEST(Threads, AFittedModelAnswersAll) {
    const Data data;
    const auto neighbours = Engine::Regression::KNN::Model().fit(data.x, data.y);
    const auto clusters = Engine::KMC::Model({1, 5, 20, 1}).fit(data.x);
    std::vector<std::vector<Vector>> found(kThreads);
    onThreads([&](int t) {
        const DataFrame scores = neighbours.predict(
            data.x, 3, true, false, KNearestNeighbors::WeightingScheme::inverseDistance);
        Vector nearest;
        for (const int cluster : clusters.predict(data.x)) nearest.push_back(cluster);
        found[static_cast<std::size_t>(t)] = {Convert::toDoubleVector(scores), nearest};
        EXPECT_FALSE(neighbours.toJson().empty());
    });
    for (int t = 1; t < kThreads; ++t) expectSame(found[0], found[static_cast<std::size_t>(t)]);
}

}  // namespace
}  // namespace Veltrix::Testing

// The plain exports against the class that they wrap, and what they answer to mistakes.
#include "Veltrix/Exports.h"

#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KMC.h"

namespace Veltrix::Testing {
namespace {

TEST(Exports, RunClusterDoesWhatTheModelDoes) {
    const Matrix x = Util::gaussianMatrix(70, 3, MatrixOrderType::columnMajor, 0.0, 1.0, 5);
    // The seed's bits count, also beyond the signed range.
    for (const unsigned seed : {12345U, 4000000000U}) {
        std::vector<int> clusters(70, -1);
        ASSERT_EQ(RunCluster(3, 70, x.data(), 4, 20, 3, seed, clusters.data()), 0);
        Engine::KMC::Model model({3, 4, 20, static_cast<std::int32_t>(seed)});
        const IntVector expected = model.fit(x).predict(x);
        EXPECT_EQ(IntVector(clusters.begin(), clusters.end()), expected);
    }
    // More clusters than records leave some empty.
    std::vector<int> clusters(2, -1);
    EXPECT_EQ(RunCluster(1, 2, x.data(), 5, 3, 1, 1, clusters.data()), 0);
    EXPECT_NE(clusters[0], clusters[1]);
    // Leaks show under the sanitizers.
    VTX_DeleteStringArray(new VtxStringArray{L"a string too long to be kept in place", L""});
}

TEST(Exports, MistakesLeaveTheResultAlone) {
    const double good[] = {1, 2, 3, 4, 5, 6};
    const double bad[] = {1, 2, 3, 4, std::nan(""), 6};
    constexpr unsigned kTooLarge = 2147483648U;
    const struct {
        unsigned numColumns;
        int numRows;
        const double* values;
        unsigned clusters, iterations, starts;
    } cases[] = {
        {0, 3, good, 2, 9, 1},         {2, 0, good, 2, 9, 1},         {2, -3, good, 2, 9, 1},
        {2, 3, nullptr, 2, 9, 1},      {2, 3, bad, 2, 9, 1},          {2, 3, good, 0, 9, 1},
        {2, 3, good, 2, 9, 0},         {kTooLarge, 3, good, 2, 9, 1}, {2, 3, good, kTooLarge, 9, 1},
        {2, 3, good, 2, kTooLarge, 1}, {2, 3, good, 2, 9, kTooLarge},
    };
    for (const auto& each : cases) {
        std::vector<int> out(3, -7);
        EXPECT_EQ(RunCluster(each.numColumns, each.numRows, each.values, each.clusters,
                             each.iterations, each.starts, 1, out.data()),
                  1)
            << &each - cases;
        EXPECT_EQ(out, std::vector<int>(3, -7));
    }
}

}  // namespace
}  // namespace Veltrix::Testing

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/Fnv1a.h"
#include "support/MersenneNormal.h"
#include "support/RuntimeRandom.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

using namespace Veltrix::Support;
using namespace Veltrix::Testing;

TEST(RuntimeRandom, FollowsTheReferenceSequences) {
    for (const ReferenceData& item :
         ReferenceData("learners/rand_sequence").parts("sequences", "seed")) {
        const auto seed = static_cast<std::uint32_t>(item.scalar("seed"));
        RuntimeRandom random(seed);
        std::vector<double> drawn;
        for (int k = 0; k < 40; ++k) drawn.push_back(random.next());
        EXPECT_EQ(drawn, item.vector("first_40")) << "seed " << seed;
        for (int k = 40; k < 999999; ++k) random.next();
        EXPECT_EQ(random.next(), item.scalar("draw_1000000"));
    }
}

TEST(RuntimeRandom, JoinsHighHalfFirstAndScalesByTheLargestOutput) {
    RuntimeRandom random(1);
    EXPECT_EQ(random.nextJoined(), 41u * 32768u + 18467u);
    EXPECT_EQ(random.nextFraction(), 6334 / 32767.0);
}

TEST(MersenneNormal, DrawsInTheDocumentedOrder) {
    std::mt19937 engine(5489);
    const auto uniform = [&engine] {
        const double a = static_cast<double>(engine());
        return (a + static_cast<double>(engine()) * 0x1p32) * 0x1p-64;
    };
    MersenneNormal normal(5489);
    for (int i = 0; i < 1000; ++i) {
        double u = 1.0;
        double v = 1.0;
        while (u * u + v * v >= 1.0) {
            u = 2.0 * uniform() - 1.0;
            v = 2.0 * uniform() - 1.0;
        }
        const double s = u * u + v * v;
        const double radius = std::sqrt(-2.0 * std::log(s) / s);
        ASSERT_TRUE(isNear(normal.next(), u * radius, {1e-14}));
        ASSERT_TRUE(isNear(normal.next(), v * radius, {1e-14}));
    }
}

TEST(Fnv1a, MatchesThePublishedVectorsAndTakesWholeCharacters) {
    EXPECT_EQ(fnv1a(L""), 0xcbf29ce484222325u);
    EXPECT_EQ(fnv1a(L"a"), 0xaf63dc4c8601ec8cu);
    EXPECT_EQ(fnv1a(L"foobar"), 0x85944171f73967e8u);
    EXPECT_EQ(fnv1a(L"\u20AC"), (0xcbf29ce484222325u ^ 0x20ACu) * 0x100000001b3u);
}

// Progress reports: when they come, what nested phases say, and how a callback ends an operation.
#include "Veltrix/Data/Progress.h"

#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace Veltrix::Testing {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// Waits without sleep, whose length nobody vouches for.
void workFor(milliseconds time) {
    const auto end = Clock::now() + time;
    while (Clock::now() < end) {
    }
}

TEST(Progress, ReportsAreSpacedAndSpeakOfTheOutermostPhase) {
    std::vector<double> fractions;
    std::vector<Clock::time_point> times;
    const ProgressScope scope([&](const Progress& progress) {
        EXPECT_EQ(progress.phase, "outer");
        EXPECT_EQ(progress.total, 4U);
        const auto done = static_cast<double>(progress.done);
        EXPECT_GE(progress.fraction, done / 4.0);
        EXPECT_LE(progress.fraction, (done + 1.0) / 4.0);
        fractions.push_back(progress.fraction);
        times.push_back(Clock::now());
        return true;
    });
    ProgressPhase outer("outer", 4);
    for (int k = 0; k < 4; ++k) {
        ProgressPhase inner("inner", 100);
        for (int i = 0; i < 50; ++i) {
            workFor(milliseconds(1));
            inner.advance(2);
        }
        outer.advance();
    }
    ASSERT_GE(fractions.size(), 3U);
    for (std::size_t k = 1; k < fractions.size(); ++k) {
        EXPECT_GT(fractions[k], fractions[k - 1]);
        EXPECT_GE(times[k] - times[k - 1], milliseconds(20));
    }
    // The parts of a unit count.
    EXPECT_NE(std::fmod(fractions[0] * 4.0, 1.0), 0.0);
}

TEST(Progress, FalseAndExceptionsEndTheOperation) {
    const auto operation = [] {
        ProgressPhase phase("work", 0);
        for (int i = 0; i < 1000; ++i) {
            workFor(milliseconds(1));
            phase.advance();
        }
    };
    {
        const ProgressScope scope([](const Progress& each) { return each.fraction > 0.0; });
        EXPECT_THROW(operation(), Cancelled);
        EXPECT_THROW(operation(), Cancelled);
    }
    const ProgressScope scope([](const Progress&) -> bool { throw std::string("stop"); });
    EXPECT_THROW(operation(), std::string);
}

TEST(Progress, TheInnermostScopeOfTheThreadCounts) {
    int outerCalls = 0;
    int innerCalls = 0;
    const ProgressScope outer([&](const Progress&) { return ++outerCalls > 0; });
    {
        const ProgressScope inner([&](const Progress&) { return ++innerCalls > 0; });
        ProgressPhase phase("work", 1);
        workFor(milliseconds(25));
        phase.advance();
    }
    EXPECT_EQ(outerCalls, 0);
    EXPECT_EQ(innerCalls, 1);
    std::thread([] {
        ProgressPhase phase("elsewhere", 1);
        workFor(milliseconds(25));
        phase.advance();
    }).join();
    EXPECT_EQ(outerCalls, 0);
    ProgressPhase phase("work", 1);
    workFor(milliseconds(25));
    phase.advance();
    EXPECT_EQ(outerCalls, 1);
}

}  // namespace
}  // namespace Veltrix::Testing

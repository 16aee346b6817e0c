#include <algorithm>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using namespace Engine::Sampling;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<int> toList(const IntVector& values) { return {values.begin(), values.end()}; }

std::vector<int> toList(const std::vector<double>& values) {
    std::vector<int> list;
    for (const double value : values) list.push_back(static_cast<int>(value));
    return list;
}

/// A sampler that also tells how many records it takes at once.
template <class Sampler>
struct Opened : Sampler {
    using Sampler::Sampler;
    int countTaken() { return this->generatePairs(this->getThreshold()); }
};

/// The entry of a reference file and everything that both kinds of samplers have in common.
template <class Sampler>
void expectReference(const ReferenceData& entry, double delta, const std::string& result,
                     Opened<Sampler> sampler) {
    sampler.setDelta(delta);
    sampler.setSeed(static_cast<std::uint32_t>(entry.scalar("seed")));
    EXPECT_TRUE(isNear(sampler.getThreshold().q1, entry.scalar("q1"), {1e-13}));
    EXPECT_TRUE(isNear(sampler.getThreshold().q2, entry.scalar("q2"), {1e-13}));
    EXPECT_EQ(sampler.countTaken(), entry.scalar("accepted"));
    const std::vector<int> drawn = toList(sampler.sample());
    EXPECT_EQ(sampler.getWaitList().size(), entry.scalar("wait_list"));
    const bool empty = !entry.has(result);
    EXPECT_EQ(drawn, empty ? std::vector<int>() : toList(entry.vector(result)));
    EXPECT_EQ(drawn, toList(sampler.getSample()));
    EXPECT_EQ(drawn, toList(sampler.sample())) << "a second draw differs";
}

TEST(RandomSampling, MatchesTheReferences) {
    const ReferenceData samples("learners/simple_random_samples");
    for (const ReferenceData& entry : samples.parts("samples", "population")) {
        Opened<ScalableSRS> sampler(entry.integer("population"), entry.integer("size"));
        sampler.setRandomIndex(entry.scalar("random_index") != 0.0);
        expectReference(entry, samples.scalar("delta"), "sample", sampler);
    }
    const ReferenceData parts("learners/random_partitions");
    for (const ReferenceData& entry : parts.parts("partitions", "records")) {
        expectReference(entry, parts.scalar("delta"), "permutation",
                        Opened<Partitioning>(entry.integer("records"), entry.scalar("proportion")));
    }
}

TEST(StratifiedSRS, MatchesTheReferenceSamples) {
    for (const char* name : {"iris_species", "quine_age", "titanic_class"}) {
        SCOPED_TRACE(name);
        const std::string file = std::string("learners/") + name;
        DataFrame data;
        data.append(toStrings(CsvData(file + ".csv").texts("stratum")), L"stratum");
        for (const ReferenceData& entry :
             ReferenceData(file + ".stratified").parts("samples", "size")) {
            StratifiedSRS sampler;
            sampler.setData(data).setSampleSize(entry.integer("size"));
            sampler.setAllocationMode(entry.integer("mode"))
                .setStratumSize(entry.integer("per_stratum"));
            sampler.setRandomIndex(entry.integer("random_index"));
            sampler.setSeed(static_cast<std::uint32_t>(entry.scalar("seed")));
            EXPECT_EQ(toList(sampler.sample()), toList(entry.flattened("rows_by_stratum")));
        }
    }
}

TEST(ScalableSRS, ACancelledDrawKeepsTheSample) {
    ScalableSRS sampler(1000000, 10);
    const IntVector before = sampler.sample();
    const ProgressScope scope([](const Progress&) { return false; });
    std::this_thread::sleep_for(std::chrono::milliseconds(25));  // a report is due
    EXPECT_THROW(sampler.setSeed(7).sample(), Cancelled);
    EXPECT_EQ(sampler.getSample(), before);
}

template <class Values>
DataFrame frameOf(const Values& strata) {
    DataFrame data;
    data.append(strata);
    return data;
}

TEST(StratifiedSRS, VisitsAndAllocatesInAscendingOrder) {
    // Strata sizes 1 of NaN, 2 of -1, 3 of 2, 1 of 10 (whose text sorts before that of 2).
    const DataFrame numbers = frameOf(Vector{10, kNaN, 2, -1, 2, -1, 2});
    const DataFrame texts = frameOf(StringVector{L"b", L"a", L"b", L"a", L"", L"c", L"c", L"C"});
    struct Case {
        const DataFrame& data;
        int mode, size, stratumSize;
        std::vector<std::set<int>> strata;  // in order
        std::vector<int> allocation;
    };
    const Case cases[] = {
        {numbers, 0, 99, 1, {{3, 5}, {2, 4, 6}, {0}, {1}}, {1, 1, 1, 1}},
        {numbers, 1, 7, 99, {{3, 5}, {2, 4, 6}, {0}, {1}}, {2, 3, 1, 1}},
        // Shares 6/7, 9/7, 3/7, 3/7: two rows go by fractions, the tie to the earlier stratum.
        {numbers, 1, 3, 0, {{3, 5}, {2, 4, 6}, {0}, {1}}, {1, 1, 1, 0}},
        // Empty text, C, a, b, c: shares 3/8, 3/8, 6/8 three times; ties go to the earlier.
        {texts, 1, 3, 0, {{4}, {7}, {1, 3}, {0, 2}, {5, 6}}, {0, 0, 1, 1, 1}},
        {texts, 2, 0, 0, {{4}}, {0}},
    };
    for (const Case& c : cases) {
        StratifiedSRS sampler;
        sampler.setData(c.data).setAllocationMode(c.mode).setSampleSize(c.size);
        const IntVector drawn = sampler.setStratumSize(c.stratumSize).sample();
        std::uint64_t next = 0;
        for (std::size_t h = 0; h < c.strata.size(); ++h) {
            std::set<int> distinct;
            for (int k = 0; k < c.allocation[h]; ++k) {
                const int row = drawn.at(next++);
                EXPECT_TRUE(c.strata[h].count(row)) << row << " not in stratum " << h;
                distinct.insert(row);
            }
            EXPECT_EQ(distinct.size(), static_cast<std::size_t>(c.allocation[h]));
        }
        EXPECT_EQ(next, drawn.size());
    }
}

TEST(StratifiedSRS, FillsUpWithTheFirstRowOfATooSmallStratum) {
    StratifiedSRS sampler;
    sampler.setData(frameOf(StringVector{L"b", L"a", L"b"})).setAllocationMode(2);
    std::vector<int> drawn = toList(sampler.setStratumSize(4).sample());
    ASSERT_EQ(drawn.size(), 8u);
    std::sort(drawn.begin() + 4, drawn.end());
    EXPECT_EQ(drawn, (std::vector<int>{1, 1, 1, 1, 0, 0, 0, 2}));
}

/// `successes` labels "yes" spread over `records` labels, the others "no".
StringVector labelsOf(int records, int successes) {
    StringVector labels;
    for (int i = 0; i < records; ++i) {
        const bool success = (i + 1) * successes / records > i * successes / records;
        labels.push_back(success ? L"yes" : L"no");
    }
    return labels;
}

TEST(OversamplingPartitioning, GivesEveryListItsShares) {
    struct Case {
        int records, successes;
        double share, training, validation;
        int maxSize;
        std::vector<int> sizes;      // of training, validation and test
        std::vector<int> ofSuccess;  // successes in them
    };
    const Case cases[] = {
        // Half of 100 successes and as many others; the rest at 1 to 9.
        {1000, 100, 0.5, 0.5, 0.0, 0, {100, 0, 500}, {50, 0, 50}},
        // The success class is the plentiful one.
        {1000, 900, 0.25, 0.5, 0.0, 0, {67, 0, 500}, {17, 0, 450}},
        // Counts are rounded up only with a validation share.
        {21, 3, 0.5, 0.5, 0.0, 0, {4, 0, 7}, {2, 0, 1}},
        {30, 3, 0.3, 0.4, 0.3, 0, {7, 10, 0}, {2, 1, 0}},
        // At most 30 in training, a third of them successes.
        {900, 90, 1.0 / 3.0, 0.5, 0.0, 30, {30, 0, 800}, {10, 0, 80}},
        // Shares at the ends.
        {100, 20, 1.0, 0.5, 0.0, 0, {10, 0, 50}, {10, 0, 10}},
        {10, 10, 1.0, 0.5, 0.5, 0, {5, 5, 0}, {5, 5, 0}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.successes << " of " << c.records << ", share "
                                        << c.share << ", training " << c.training);
        const StringVector labels = labelsOf(c.records, c.successes);
        OversamplingPartitioning partitioning;
        partitioning.setSuccessShare(c.share).setTrainingShare(c.training).setSeed(7);
        partitioning.setValidationShare(c.validation).setMaxTrainingSize(c.maxSize);
        partitioning.partition(labels, L"yes");
        OversamplingPartitioning again = partitioning;
        EXPECT_EQ(again.partition(labels, L"yes").getTraining(), partitioning.getTraining());
        std::set<int> all;
        std::size_t total = 0;
        std::size_t i = 0;
        for (const IntVector& list :
             {partitioning.getTraining(), partitioning.getValidation(), partitioning.getTest()}) {
            EXPECT_EQ(static_cast<int>(list.size()), c.sizes[i]) << "list " << i;
            EXPECT_TRUE(std::is_sorted(list.begin(), list.end()));
            const auto successes = std::count_if(list.begin(), list.end(), [&](int index) {
                return labels.at(static_cast<std::uint64_t>(index)) == L"yes";
            });
            EXPECT_EQ(successes, c.ofSuccess[i]) << "list " << i;
            all.insert(list.begin(), list.end());
            total += list.size();
            ++i;
        }
        EXPECT_EQ(all.size(), total) << "lists overlap";
    }
}

TEST(Sampling, RefusesBadInput) {
    const StringVector yes(3, L"yes");
    expectRefused({
        {"-1 records in the population, at least 0 expected", [] { ScalableSRS(-1, 0); }},
        {"-2 records to draw, at least 0", [] { ScalableSRS(5, -2); }},
        {"failure probability in (0, 1] expected, found 0", [] { ScalableSRS().setDelta(0.0); }},
        {"-1 records in the population", [] { Partitioning(-1, 0.5); }},
        {"proportion in [0, 1] expected, found nan", [] { Partitioning(3, kNaN); }},
        {"-1 records per stratum", [] { StratifiedSRS().setStratumSize(-1); }},
        {"draw 4 rows from, found none", [] { StratifiedSRS().setSampleSize(4).sample(); }},
        {"training share in [0, 1]", [] { OversamplingPartitioning().setTrainingShare(kNaN); }},
        {"-1 records in training", [] { OversamplingPartitioning().setMaxTrainingSize(-1); }},
        {"sum to at most 1 expected, found 0.5 and 0.6",
         [&] { OversamplingPartitioning(Params(), 0.6).partition(yes, L"yes"); }},
        {"found none with it", [] { OversamplingPartitioning().partition({}, L"no"); }},
        {"found none without", [&] { OversamplingPartitioning().partition(yes, L"yes"); }},
    });
}

}  // namespace
}  // namespace Veltrix::Testing

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/engine/Refusals.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::TooFewRecords;
using Engine::TS::ARIMA::Data;
using testing::ElementsAre;
using Values = std::vector<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint64_t kHuge = std::numeric_limits<std::uint64_t>::max();

Values slice(const Values& values, std::size_t from, std::size_t length) {
    const auto first = values.begin() + static_cast<std::ptrdiff_t>(from);
    return {first, first + static_cast<std::ptrdiff_t>(length)};
}

/// Relative, with a floor for values that are small beside the largest.
testing::AssertionResult agree(const Values& actual, const Values& expected) {
    double largest = 0.0;
    for (const double value : expected) largest = std::max(largest, std::fabs(value));
    return allNear(actual, expected, {1e-9, 1e-13 * largest});
}

/// Not a multiple of any block length, and without a period.
Values longSeries(std::size_t n) {
    Values series;
    for (std::size_t t = 0; t < n; ++t) {
        const auto x = static_cast<double>(t);
        series.push_back(10.0 + std::sin(0.7 * x) + std::cos(0.013 * x * std::sqrt(x)));
    }
    return series;
}

TEST(SeriesData, MatchesReferences) {
    const ReferenceData reference("timeseries/acvf_pacf");
    for (const std::string& name : reference.texts("cases")) {
        SCOPED_TRACE(name);
        const ReferenceData at = reference.part(name);
        const auto count = [&](const char* quantity) {
            return static_cast<std::uint64_t>(at.scalar(quantity));
        };
        Data data(count("d"), count("D"), count("period"));
        const CsvData file("timeseries/series/" + at.text("series") + ".csv");
        const Values series = file.numbers("x");
        data.load(series).preprocess();
        ASSERT_EQ(data.numOriginalRecords(), count("n_original"));
        ASSERT_EQ(data.numProcessedRecords(), count("n"));
        EXPECT_TRUE(isNear(data.mean(), at.scalar("mean"), {1e-9, 1e-15}));
        EXPECT_TRUE(isNear(data.variance(), at.scalar("variance"), {1e-9}));

        const Values& processed = data.processedData();
        const Values first = at.vector("processed_first");
        const Values last = at.vector("processed_last");
        EXPECT_TRUE(agree(slice(processed, 0, first.size()), first));
        EXPECT_TRUE(agree(slice(processed, processed.size() - last.size(), last.size()), last));
        const Values working = at.vector("working_first");
        EXPECT_TRUE(agree(slice(data.lagInfo(), 0, working.size()), working));

        const Values acvf = at.vector("acvf");
        data.computePACF(0, acvf.size());
        EXPECT_TRUE(agree(data.acvf(), acvf));
        EXPECT_TRUE(agree(data.pacf(), at.vector("pacf")));

        Values y;
        for (const double value : processed) y.push_back(value / 2.0);
        y.insert(y.end(), {0.25, -0.5, 1.0, 0.0, 0.75, -1.25});
        const Values restored = data.postprocess(y);
        const Values head = at.vector("postprocess_first");
        const Values tail = at.vector("postprocess_last8");
        ASSERT_EQ(restored.size(), series.size() + 6);
        EXPECT_TRUE(agree(slice(restored, 0, head.size()), head));
        EXPECT_TRUE(agree(slice(restored, restored.size() - tail.size(), tail.size()), tail));
        EXPECT_TRUE(agree(data.postprocess(processed), series));
    }
}

TEST(SeriesData, OperationsAreCarriedOutInOrder) {
    Data data;
    data.load({1, 4, 9, 16, 25}).lag(0, 12).lag(1, 0).lag(1, 1).apply().apply();
    EXPECT_EQ(data.processedData(), (Values{3, 5, 7, 9})) << "every time from the original on";
    data.subtractMean().apply();
    EXPECT_EQ(data.lagInfo(), (Values{1, -3, -1, 1, 3}));
    EXPECT_EQ(data.mean(), 6.0) << "before the subtraction";
    EXPECT_TRUE(data.isMeanSubtracted());

    Data given;
    given.load({1, 4, 9, 16, 25}).subtractMean(2.0).lag(1, 2).apply();
    EXPECT_EQ(given.processedData(), (Values{8, 12, 16}));
    EXPECT_EQ(given.postprocess({8, 12, 16, 20}), (Values{1, 4, 9, 16, 25, 36}));
    EXPECT_THAT(Data().load({1, 2, 6}).subtractMean(2).computeACVF().processedData(),
                ElementsAre(1, 2, 6))
        << "a mean that was given counts as subtracted";
    // Other data, same operations.
    given.load({1, 2, 3});
    EXPECT_EQ(given.postprocess({7, 7, 7}), (Values{7, 7, 7})) << "nothing applied to it";
    EXPECT_EQ(given.apply().processedData(), (Values{2}));
    EXPECT_EQ(given.postprocess({}), Values()) << "less than the series";

    Data meanFirst;
    meanFirst.load({1, 2, 6}).subtractMean(1.0).subtractMean().lag(1, 1).apply().apply();
    EXPECT_EQ(meanFirst.lagInfo(), (Values{-3, 1, 4})) << "given, then of the original series";
    EXPECT_EQ(meanFirst.postprocess({1, 4}), (Values{1, 2, 6}));
}

TEST(SeriesData, ConstantSeries) {
    for (const std::uint64_t differences : {0U, 1U}) {
        Data data(0, differences, 4);
        data.load(Values(1000, 0.1)).preprocess().computePACF(0, 3);
        EXPECT_EQ(data.mean(), differences == 0 ? 0.1 : 0.0);
        EXPECT_EQ(data.isMeanSubtracted(), differences == 0);
        EXPECT_EQ(data.variance(), 0.0);
        EXPECT_EQ(data.pacf(), Values(3, 0.0));
    }
}

TEST(SeriesData, RangesOfLags) {
    Data whole;
    whole.load(longSeries(6001)).preprocess().computePACF(0, 30);
    Data part = whole;
    part.computeACVF(5, 12);
    EXPECT_TRUE(agree(part.acvf(), slice(whole.acvf(), 5, 7)));
    part.computePACF(2, 12);
    EXPECT_TRUE(agree(part.pacf(), slice(whole.pacf(), 2, 10)));
    // Empty ranges change nothing.
    part.computePACF(7, 7).computePACF(6001, kHuge).computeACVF(3, 2);
    EXPECT_EQ(part.pacf().size(), 10u);
    Data few;
    EXPECT_FALSE(few.load({1, 2, 4, 3}).computeACVF(1, 1).isMeanSubtracted());
    EXPECT_EQ(few.variance(), 1.25);
    few.computePACF(1, kHuge);
    EXPECT_EQ(few.pacf().size(), 3u) << "clamped to the length";
    EXPECT_TRUE(isNear(few.acvf()[0], 1.25, {1e-12})) << "the mean is subtracted first";
}

TEST(SeriesData, TooShort) {
    const std::function<void(Data&)> tooMany[] = {
        [](Data& d) { d.lag(2, 12); },          [](Data& d) { d.lag(13, 1); },
        [](Data& d) { d.lag(1, 13); },          [](Data& d) { d.lag(kHuge, 1); },
        [](Data& d) { d.lag(1, kHuge); },       [](Data& d) { d.lag(kHuge / 2 + 1, 2); },
        [](Data& d) { d.lag(1, 12).lag(1, 1); }};
    for (const auto& list : tooMany) {
        Data tried;
        tried.load(longSeries(13));
        list(tried);
        const WString before = tried.toJson();
        EXPECT_THROW(tried.apply(), TooFewRecords);
        EXPECT_THROW(tried.computePACF(), TooFewRecords);
        EXPECT_EQ(tried.toJson(), before);
    }
    // What fails is not listed: the next series is differenced once.
    Data once(1, 0, 0);
    EXPECT_THROW(once.load({1}).preprocess(), TooFewRecords);
    EXPECT_EQ(once.load({1, 4, 9}).preprocess().processedData(), (Values{-1, 1}));
    Data empty;
    empty.load({}).preprocess().computePACF();
    EXPECT_EQ(empty.mean(), 0.0);
}

TEST(SeriesData, NaNSpreads) {
    Data data(1);
    data.load({1, 2, kNaN, 4, 5}).preprocess();
    EXPECT_TRUE(std::isnan(data.mean()));
    data.computePACF(0, 3);
    for (const double value : data.acvf()) EXPECT_TRUE(std::isnan(value));
    EXPECT_EQ(data.pacf().at(0), 1.0);
    EXPECT_TRUE(std::isnan(data.pacf().at(2)));
}

TEST(SeriesData, StoredNumbersMustFitTogether) {
    Data data;
    data.load({1, 2, 4}).lag(1, 1).apply();
    data.subtractMean(kNaN);
    expectDamageRefused(data, {{"\"count\":1", "\"count\":0", "operations[0].count"},
                               {"\"lag\":1", "\"lag\":3", "\"operations\""},
                               {"\"count\":1", "\"count\":18446744073709551615", "\"operations\""},
                               {"\"applied\":1", "\"applied\":3", "\"applied\""},
                               {"\"original\":[1,", "\"original\":[1,1,", "\"working\""}});
}

}  // namespace
}  // namespace Veltrix::Testing

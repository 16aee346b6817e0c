#include <cmath>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"

namespace Veltrix::Testing {
namespace {

using Engine::Weightable;
using Engine::Classification::BinaryTargetCategorizable;
using Engine::Classification::Modelable;

TEST(Weightable, FillsOnlyEmptyWeights) {
    Weightable role;
    role.fit(Vector(3));
    EXPECT_EQ(role.getWeights(), Vector(3, 1.0));
    role.fit(StringVector{L"a", L"b"});
    EXPECT_EQ(role.getWeights().size(), 3u);
    role.setWeights(Vector{1, 3}).normalizeWeights();
    EXPECT_EQ(role.getWeights(), (Vector{0.25, 0.75}));
    role.setWeights(Vector(2)).normalizeWeights();
    EXPECT_TRUE(std::isnan(role.getWeights()[0]));
}

TEST(BinaryTarget, SuccessClassAndIndex) {
    const BinaryTargetCategorizable two(StringVector{L"no", L"yes"});
    EXPECT_EQ(two.getSuccessClass(), L"no");
    EXPECT_EQ(two.getSuccessProbabilityCutoff(), 0.5);
    EXPECT_TRUE(two.isBinary());
    BinaryTargetCategorizable role(StringVector{L"a", L"b", L"c"});
    EXPECT_TRUE(role.getSuccessClass().empty());
    EXPECT_EQ(role.getSuccessClassIndex(), 1);
    EXPECT_EQ(role.setSuccessClass(L"a").getSuccessClassIndex(), 0);
    EXPECT_EQ(role.setSuccessClass(L"c").getSuccessClassIndex(), 1);
    EXPECT_EQ(BinaryTargetCategorizable().getSuccessClassIndex(), 1);
}

TEST(Priorable, EmpiricalPriors) {
    const StringVector labels{L"b", L"a", L"b", L"c"};
    Modelable byCount;
    byCount.fit(labels, Vector{1, 2, 3});  // one weight short: counts
    EXPECT_EQ(byCount.getClasses(), (StringVector{L"a", L"b", L"c"}));
    EXPECT_EQ(byCount.getPriorVector(), (Vector{0.25, 0.5, 0.25}));
    Modelable byWeight;
    byWeight.fit(labels, Vector{1, 2, 4, 1});
    EXPECT_EQ(byWeight.getPrior(L"b"), 0.625);
    byWeight.fit(labels, Vector());  // priors are there already
    EXPECT_EQ(byWeight.getPrior(L"b"), 0.625);
    Modelable listed;  // a class without records has the prior 0
    listed.setClasses({L"d", L"c", L"b", L"a"}).fit(labels, Vector());
    EXPECT_EQ(listed.getPriorVector(), (Vector{0.0, 0.25, 0.5, 0.25}));
    Modelable byUser;
    byUser.setPrior(L"a", 0.9).fit(labels, Vector());
    EXPECT_EQ(byUser.getPriors().size(), 1u);
    EXPECT_THAT([&] { byUser.getPriorVector(); },
                testing::ThrowsMessage<std::out_of_range>("invalid unordered_map<K, T> key"));
}

TEST(EngineUtil, NamesAndPackedIndexes) {
    EXPECT_EQ(Engine::Util::generateColName(L"colour", L"rot"), L"colour_rot");
    EXPECT_EQ(Engine::Util::index_lr(2, 5), 17);
    EXPECT_EQ(Engine::Util::index_lr(5, 2), 17);
    EXPECT_EQ(Engine::Util::index_lr(100000, 100000), 5000150000);
}

TEST(Exceptions, CrosswiseTextsStay) {
    EXPECT_EQ(Engine::TooFewRecords().getCode(), 502);
    EXPECT_STREQ(Engine::TMEmptyVocabulary().what(),
                 "New collection of documents does not contain any terms from the model's "
                 "vocabulary.");
    EXPECT_EQ(Engine::UnaryResponseVariable().getCode(), 543);
    EXPECT_STREQ(Engine::UnaryResponseVariable().what(), Engine::OneHotEncoderFailure().what());
}

}  // namespace
}  // namespace Veltrix::Testing

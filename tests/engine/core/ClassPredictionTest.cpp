#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/ClassPrediction.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"

namespace Veltrix::Testing {
namespace {

DataFrame predictCase(const ReferenceData& item) {
    DataFrame posteriors =
        Convert::toDataFrame(toMatrix(item.matrix("posterior")), toStrings(item.texts("columns")));
    posteriors.setName(L"Posterior Probability: cases");
    const bool priors = item.has("priors");
    const Vector prior = priors ? toVector(item.vector("priors")) : Vector();
    if (item.scalar("has_cutoff") == 0.0) {
        return priors ? Classification::Engine::predict(posteriors, prior)
                      : Classification::Engine::predict(posteriors);
    }
    const WString success = WString::fromUtf8(item.text("success_class"));
    const double cutoff = item.scalar("cutoff");
    return priors ? Classification::Engine::predict(posteriors, prior, success, cutoff)
                  : Classification::Engine::predict(posteriors, success, cutoff);
}

TEST(ClassPrediction, ReferenceCases) {
    for (const ReferenceData& item :
         ReferenceData("learners/class_prediction").parts("cases", "columns")) {
        const DataFrame result = predictCase(item);
        EXPECT_EQ(result.getName(), L"Prediction: cases");
        EXPECT_EQ(result.getColName(0), L"Class");
        EXPECT_EQ(Convert::toStringVector(result), toStrings(item.texts("predicted")));
    }
}

// Row names go along; a table without rows or with text in it is no crash.
TEST(ClassPrediction, NamesAndOddTables) {
    DataFrame posteriors;
    posteriors.append(StringVector{L"0.25", L"0.5"}, L"a");
    posteriors.append(Vector{0.75, 0.5});
    posteriors.setColName(1, L"b");
    posteriors.setRowNames(StringVector{L"first", L"second"});
    const DataFrame result = Classification::Engine::predict(posteriors);
    EXPECT_EQ(result(L"first", L"Class").toString(), L"b");
    EXPECT_EQ(result(L"second", L"Class").toString(), L"a");
    posteriors(0, 0) = L"much";
    EXPECT_THROW(Classification::Engine::predict(posteriors), std::bad_cast);
    DataFrame none;
    none.append(Vector());
    EXPECT_EQ(Classification::Engine::predict(none).getNumRows(), 0);
}

}  // namespace
}  // namespace Veltrix::Testing

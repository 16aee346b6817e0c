#include <string>

#include <gtest/gtest.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/ClassPrediction.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"

namespace Veltrix::Testing {
namespace {

DataFrame predictCase(const ReferenceData& reference, const std::string& prefix) {
    StringVector columns;
    for (const std::string& name : reference.texts(prefix + "columns")) {
        columns.push_back(WString::fromUtf8(name));
    }
    DataFrame posteriors =
        Convert::toDataFrame(toMatrix(reference.matrix(prefix + "posterior")), columns);
    posteriors.setName(L"Posterior Probability: cases");
    const bool priors = reference.has(prefix + "priors");
    const Vector prior = priors ? toVector(reference.vector(prefix + "priors")) : Vector();
    if (reference.scalar(prefix + "has_cutoff") == 0.0) {
        return priors ? Classification::Engine::predict(posteriors, prior)
                      : Classification::Engine::predict(posteriors);
    }
    const WString success = WString::fromUtf8(reference.text(prefix + "success_class"));
    const double cutoff = reference.scalar(prefix + "cutoff");
    return priors ? Classification::Engine::predict(posteriors, prior, success, cutoff)
                  : Classification::Engine::predict(posteriors, success, cutoff);
}

TEST(ClassPrediction, ReferenceCases) {
    const ReferenceData reference("learners/class_prediction");
    int cases = 0;
    for (; reference.has("cases." + std::to_string(cases) + ".columns"); ++cases) {
        const std::string prefix = "cases." + std::to_string(cases) + ".";
        const DataFrame result = predictCase(reference, prefix);
        EXPECT_EQ(result.getName(), L"Prediction: cases");
        EXPECT_EQ(result.getColName(0), L"Class");
        const auto expected = reference.texts(prefix + "predicted");
        ASSERT_EQ(static_cast<std::size_t>(result.getNumRows()), expected.size());
        for (int i = 0; i < result.getNumRows(); ++i) {
            EXPECT_EQ(result(i, 0).toString().toUtf8(), expected[static_cast<std::size_t>(i)])
                << prefix << " row " << i;
        }
    }
    EXPECT_GE(cases, 6);
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

// Logistic regression step by step against results computed elsewhere (origin and tolerances in
// tests/reference/learners/README.md).
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::LinearModel::Logistic::Model;

class LogisticReference : public testing::TestWithParam<const char*> {
  protected:
    Model fit(int maxIterations) const {
        Model fitted;
        return weights.empty() ? fitted.fit(x, y, maxIterations, intercept)
                               : fitted.fit(x, y, weights, maxIterations, intercept);
    }
    /// What the file does not hold is not compared.
    void expect(const std::vector<std::pair<const char*, Vector>>& found,
                const Tolerance& within) const {
        for (const auto& [quantity, values] : found) {
            if (!reference.has(quantity)) continue;
            const auto expected = reference.flattened(quantity);
            EXPECT_TRUE(allNear(values, expected, within)) << quantity;
        }
    }

    const ReferenceData reference{std::string("learners/") + GetParam() + ".logistic"};
    const CsvData data{"learners/" + reference.text("data")};
    const Matrix x = columnsOf(data, reference.texts("predictors"));
    const Vector y = toVector(data.numbers(reference.text("response")));
    const Vector weights = reference.has("weights") && !reference.text("weights").empty()
                               ? toVector(data.numbers(reference.text("weights")))
                               : Vector();
    const bool intercept = reference.scalar("intercept") != 0.0;
    const double confidence = reference.scalar("confidence");
    const Model model = fit(static_cast<int>(reference.scalar("max_iterations")));
    const Tolerance tolerance{1e-8, 1e-12};
};

TEST_P(LogisticReference, EveryStepAndItsEnd) {
    const Table steps = reference.matrix("steps");
    for (std::size_t k = 0; k < steps.rows; ++k) {
        const double deviance = fit(static_cast<int>(k) + 1).getResidualDeviance();
        EXPECT_TRUE(isNear(deviance, steps(k, 0), tolerance)) << k;
    }
    EXPECT_EQ(model.getNumIterations(), reference.scalar("completed_iterations"));
    const bool separated = reference.text("stopped_by") == "separation";
    expect({{"coefficients", model.getCoefficients()}}, {separated ? 1e-5 : 1e-8, 1e-12});
    const auto kept = reference.vector("kept_columns");
    EXPECT_EQ(model.getEstimableColumns(), IntVector(kept.begin(), kept.end()));
    for (int k = 0; reference.has("with_limit." + std::to_string(k) + ".max_iterations"); ++k) {
        const std::string prefix = "with_limit." + std::to_string(k) + ".";
        const Model limited = fit(static_cast<int>(reference.scalar(prefix + "max_iterations")));
        EXPECT_EQ(limited.getNumIterations(), reference.scalar(prefix + "completed_iterations"));
        expect({{(prefix + "coefficients").c_str(), limited.getCoefficients()},
                {(prefix + "residual_deviance").c_str(), {limited.getResidualDeviance()}}},
               tolerance);
    }
}

TEST_P(LogisticReference, Statistics) {
    const auto fit = model.computeFitEvaluation(y);
    const auto info = model.computeCoefficientInfo(x, confidence);
    const Matrix first = model.posteriorProbability(x(Util::range(0, 5), Util::all));
    expect({{"fit.residual_deviance", {fit.residualDeviance}},
            {"fit.null_deviance", {fit.nullDeviance}},
            {"fit.pseudo_r2", {fit.pseudoR2}},
            {"fit.df_residual", {fit.residualDf}},
            {"standard_errors", info.standardErrors},
            {"wald", info.waldStatistics},
            {"p_values", info.pValues},
            {"lower", info.lowerConfidenceLimits},
            {"upper", info.upperConfidenceLimits},
            {"odds", info.odds},
            {"covariance", model.computeVarianceCovariance(x).getAsDoubleVector()},
            {"posterior_first_rows", Util::transpose(first).getAsDoubleVector()}},
           tolerance);
    const auto collinearity = model.computeFittedMulticollinearity(x);
    const std::string prefix = "collinearity_root_weighted_design.";
    EXPECT_TRUE(
        allNear(collinearity.eigenvalues, reference.vector(prefix + "eigenvalues"), {1e-9, 1e-12}));
    EXPECT_TRUE(allNear(Util::transpose(collinearity.varianceProportions).getAsDoubleVector(),
                        reference.flattened(prefix + "variance_proportions"), {0.0, 1e-8}));
}

INSTANTIATE_TEST_SUITE_P(Data, LogisticReference,
                         testing::Values("birthwt_low", "birthwt_milligrams_nointercept",
                                         "birthwt_weighted_nointercept", "iris_separated",
                                         "mtcars_am", "virginica"));

}  // namespace
}  // namespace Veltrix::Testing

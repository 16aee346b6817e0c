// Linear regression against certified values and results computed elsewhere (origin and tolerances
// in tests/reference/learners/README.md).
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Veltrix/Veltrix.h"
#include "tests/support/Containers.h"
#include "tests/support/ReferenceData.h"
#include "tests/support/Tolerance.h"

namespace Veltrix::Testing {
namespace {

using Engine::LinearModel::OLS::Model;

/// A reference problem: data, model and the certified or computed results.
struct Problem {
    ReferenceData reference;
    Matrix x;
    Vector y;
    Vector weights;
    bool intercept;

    Problem(const std::string& name, MatrixOrderType order)
        : reference("learners/" + name + ".ols") {
        const CsvData data("learners/" + reference.text("data"));
        x = columnsOf(data, reference.texts("predictors"), order);
        y = toVector(data.numbers(reference.text("response")));
        const bool weighted = reference.has("weights") && !reference.text("weights").empty();
        if (weighted) weights = toVector(data.numbers(reference.text("weights")));
        intercept = reference.scalar("intercept") != 0.0;
    }

    Model fit() const {
        Model model;
        return weights.empty() ? model.fit(x, y, intercept) : model.fit(x, y, weights, intercept);
    }
};

// Certified values have 15 digits. Refinement gives the coefficients nearly all of them; standard
// errors rest on the triangle alone. The exact fits (wampler1, wampler2) have certified standard
// errors of 0, which rounding of the sums lets come out as small absolute errors only.
TEST(OLSCertified, ReachesTheDigits) {
    const std::tuple<const char*, double, double> cases[] = {
        // digits of coefficients and errors
        {"norris", 12, 12},   {"noint1", 14, 14},  {"noint2", 14, 14},   {"pontius", 13, 12},
        {"longley", 14, 12},  {"wampler1", 14, 8}, {"wampler2", 13, 12}, {"wampler3", 14, 12},
        {"wampler4", 14, 12}, {"wampler5", 14, 12}};
    for (const auto& [name, coefficientDigits, errorDigits] : cases) {
        SCOPED_TRACE(name);
        for (const auto order : {MatrixOrderType::columnMajor, MatrixOrderType::rowMajor}) {
            const Problem problem(name, order);
            const auto info = problem.fit().computeCoefficientInfo(0.95);
            const auto coefficients = problem.reference.vector("certified.coefficients");
            const auto errors = problem.reference.vector("certified.standard_deviations");
            ASSERT_EQ(info.estimates.size(), coefficients.size());
            for (std::size_t j = 0; j < coefficients.size(); ++j) {
                EXPECT_GE(logRelativeError(info.estimates[j], coefficients[j]), coefficientDigits);
                EXPECT_GE(logRelativeError(info.standardErrors[j], errors[j]), errorDigits);
            }
        }
    }
}

/// The name of the data and the relative tolerance.
class OLSReference : public testing::TestWithParam<std::pair<const char*, double>> {
  protected:
    using Vectors = std::vector<std::pair<const char*, Vector>>;

    /// What the file does not hold is not compared.
    void expect(const Vectors& found) const {
        for (const auto& [quantity, values] : found) {
            if (!problem.reference.has(quantity)) continue;
            EXPECT_TRUE(allNear(values, problem.reference.vector(quantity), tolerance)) << quantity;
        }
    }
    void expectMatrix(const Matrix& actual, const std::string& quantity,
                      const Tolerance& within) const {
        const Matrix expected = toMatrix(problem.reference.matrix(quantity));
        ASSERT_EQ(actual.getNumRows(), expected.getNumRows()) << quantity;
        EXPECT_TRUE(allNear(actual.getAsDoubleVector(), expected.getAsDoubleVector(), within))
            << quantity;
    }

    const Problem problem{GetParam().first, MatrixOrderType::columnMajor};
    // The floor is for values that are zero up to cancellation, such as a residual of a record
    // that lies on the line.
    const Tolerance tolerance{GetParam().second, 1e-12, NaNRule::EqualsNaN};
    const Model model = problem.fit();
    const double confidence = problem.reference.scalar("confidence");
};

TEST_P(OLSReference, CoefficientsAndFit) {
    const auto info = model.computeCoefficientInfo(confidence);
    expect({{"coefficients", info.estimates},
            {"standard_errors", info.standardErrors},
            {"t", info.tStatistics},
            {"p_values", info.pValues},
            {"lower", info.lowerConfidenceLimits},
            {"upper", info.upperConfidenceLimits}});
    expectMatrix(model.getCoefficientCovariance(), "covariance", tolerance);
    EXPECT_EQ(model.getRank(), problem.reference.scalar("rank"));
    const auto estimable = problem.reference.vector("estimable_columns");
    EXPECT_EQ(model.getEstimableColumns(), IntVector(estimable.begin(), estimable.end()));
    EXPECT_EQ(model.rankDeficient(), estimable.size() < info.estimates.size());
    const auto& anova = model.getANOVA();
    const auto fit = model.computeFitEvaluation(problem.y);
    expect({{"anova.df_residual", {anova.residualDf}},
            {"anova.df_regression", {anova.regressionDf}},
            {"anova.df_total", {anova.totalDf}},
            {"anova.sse", {anova.SSE}},
            {"anova.ssr", {anova.SSR}},
            {"anova.sst", {anova.SST}},
            {"anova.mse", {anova.MSE}},
            {"anova.msr", {anova.MSR}},
            {"anova.mst", {anova.MST}},
            {"anova.std_error_estimate", {anova.standardErrorOfEstimate}},
            {"anova.f", {anova.F}},
            {"anova.p_f", {anova.pValue}},
            {"fit.r2", {fit.R2}},
            {"fit.adj_r2", {fit.adjustedR2}},
            {"fit.loglik", {fit.logLikelihood}},
            {"fit.loglik_intercept_only", {fit.interceptOnlyLogLikelihood}}});
}

TEST_P(OLSReference, RecordsAndCollinearity) {
    const Vector fitted = model.predict(problem.x);
    const auto residuals = model.computeResiduals(problem.y, fitted);
    const auto diagnostics = model.computeDiagnostics(residuals.raw);
    const auto limits = model.computeFittedPredictionIntervals(fitted, confidence);
    expect({{"fitted", fitted},
            {"leverage", model.getLeverages()},
            {"residuals.raw", residuals.raw},
            {"residuals.standardized", residuals.standardized},
            {"residuals.studentized", residuals.studentized},
            {"residuals.deleted", residuals.deleted},
            {"diagnostics.delete1_variance", diagnostics.deleteOneVariances},
            {"diagnostics.dffits", diagnostics.dffits},
            {"diagnostics.cook", diagnostics.cooksDistances},
            {"diagnostics.covratio", diagnostics.covarianceRatios},
            {"fitted_intervals.ci_lower", limits.confidenceLower},
            {"fitted_intervals.ci_upper", limits.confidenceUpper},
            {"fitted_intervals.pi_lower", limits.predictionLower},
            {"fitted_intervals.pi_upper", limits.predictionUpper}});
    const ReferenceData& reference = problem.reference;
    if (reference.has("new_records")) {
        const Matrix records = toMatrix(reference.matrix("new_records"));
        const Vector predicted = model.predict(records);
        const auto news = model.computeNewPredictionIntervals(records, predicted, confidence);
        expect({{"new_predictions", predicted},
                {"new_intervals.ci_lower", news.confidenceLower},
                {"new_intervals.ci_upper", news.confidenceUpper},
                {"new_intervals.pi_lower", news.predictionLower},
                {"new_intervals.pi_upper", news.predictionUpper}});
    }
    if (reference.has("collinearity.eigenvalues")) {
        const auto result = model.computeMulticollinearity(problem.x);
        expect({{"collinearity.eigenvalues", result.eigenvalues},
                {"collinearity.condition_indices", result.conditionIndices}});
        expectMatrix(result.varianceProportions, "collinearity.variance_proportions",
                     {1e-8, 1e-8, NaNRule::Fails});
    }
}

INSTANTIATE_TEST_SUITE_P(Computed, OLSReference,
                         testing::Values(std::pair{"cars_weighted", 1e-9},
                                         std::pair{"lifecyclesavings", 1e-9},
                                         std::pair{"longley", 1e-8}, std::pair{"mtcars_mpg", 1e-9},
                                         std::pair{"noint1", 1e-9}, std::pair{"norris", 1e-8},
                                         std::pair{"pontius", 1e-6}, std::pair{"stackloss", 1e-9},
                                         std::pair{"trees_aliased", 1e-9},
                                         std::pair{"uscrime", 1e-9},
                                         std::pair{"women_nointercept", 1e-9}),
                         [](const auto& suite) { return suite.param.first; });

}  // namespace
}  // namespace Veltrix::Testing

// Linear and logistic regression, the latter step by step, against certified values and results
// computed elsewhere (origin and tolerances in tests/reference/learners/README.md).
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

using namespace Engine::LinearModel;

/// A reference problem: data, model and the certified or computed results.
struct Problem {
    explicit Problem(const std::string& name, MatrixOrderType order = MatrixOrderType::columnMajor)
        : reference("learners/" + name) {
        const CsvData data("learners/" + reference.text("data"));
        x = columnsOf(data, reference.texts("predictors"), order);
        y = toVector(data.numbers(reference.text("response")));
        const bool weighted = reference.has("weights") && !reference.text("weights").empty();
        if (weighted) weights = toVector(data.numbers(reference.text("weights")));
    }

    OLS::Model fit() const {
        OLS::Model model;
        return weights.empty() ? model.fit(x, y, intercept) : model.fit(x, y, weights, intercept);
    }
    Logistic::Model fit(int maxIterations) const {
        Logistic::Model fitted;
        return weights.empty() ? fitted.fit(x, y, maxIterations, intercept)
                               : fitted.fit(x, y, weights, maxIterations, intercept);
    }
    /// What the file does not hold is not compared. Matrices are given row after row.
    void expect(const std::vector<std::pair<const char*, Vector>>& found,
                const Tolerance& within) const {
        for (const auto& [quantity, values] : found) {
            if (!reference.has(quantity)) continue;
            EXPECT_TRUE(allNear(values, reference.flattened(quantity), within)) << quantity;
        }
    }

    ReferenceData reference;
    Matrix x;
    Vector y, weights;
    const bool intercept = reference.scalar("intercept") != 0.0;
    const double confidence = reference.has("confidence") ? reference.scalar("confidence") : 0.0;
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
            const Problem problem(std::string(name) + ".ols", order);
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
    void expect(const Vectors& found) const { problem.expect(found, tolerance); }

    const Problem problem{std::string(GetParam().first) + ".ols"};
    // The floor is for values that are zero up to cancellation, such as a residual of a record
    // that lies on the line.
    const Tolerance tolerance{GetParam().second, 1e-12, NaNRule::EqualsNaN};
    const OLS::Model model = problem.fit();
    const double confidence = problem.confidence;
};

TEST_P(OLSReference, CoefficientsAndFit) {
    const auto info = model.computeCoefficientInfo(confidence);
    expect({{"coefficients", info.estimates},
            {"standard_errors", info.standardErrors},
            {"t", info.tStatistics},
            {"p_values", info.pValues},
            {"lower", info.lowerConfidenceLimits},
            {"upper", info.upperConfidenceLimits},
            {"covariance", rowsOf(model.getCoefficientCovariance())}});
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
        problem.expect({{"collinearity.variance_proportions", rowsOf(result.varianceProportions)}},
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

class LogisticReference : public testing::TestWithParam<const char*> {
  protected:
    using Vectors = std::vector<std::pair<const char*, Vector>>;
    void expect(const Vectors& found) const { problem.expect(found, tolerance); }

    const Problem problem{std::string(GetParam()) + ".logistic"};
    const ReferenceData& reference = problem.reference;
    const Logistic::Model model = problem.fit(reference.integer("max_iterations"));
    const Tolerance tolerance{1e-8, 1e-12};
};

TEST_P(LogisticReference, EveryStepAndItsEnd) {
    const Table steps = reference.matrix("steps");
    for (std::size_t k = 0; k < steps.rows; ++k) {
        const double deviance = problem.fit(static_cast<int>(k) + 1).getResidualDeviance();
        EXPECT_TRUE(isNear(deviance, steps(k, 0), tolerance)) << k;
    }
    EXPECT_EQ(model.getNumIterations(), reference.scalar("completed_iterations"));
    const bool separated = reference.text("stopped_by") == "separation";
    problem.expect({{"coefficients", model.getCoefficients()}}, {separated ? 1e-5 : 1e-8, 1e-12});
    const auto kept = reference.vector("kept_columns");
    EXPECT_EQ(model.getEstimableColumns(), IntVector(kept.begin(), kept.end()));
    if (!reference.has("with_limit.0.max_iterations")) return;
    for (const ReferenceData& item : reference.parts("with_limit", "max_iterations")) {
        const Logistic::Model limited = problem.fit(item.integer("max_iterations"));
        EXPECT_EQ(limited.getNumIterations(), item.scalar("completed_iterations"));
        EXPECT_TRUE(allNear(limited.getCoefficients(), item.vector("coefficients"), tolerance));
        const double deviance = item.scalar("residual_deviance");
        EXPECT_TRUE(isNear(limited.getResidualDeviance(), deviance, tolerance));
    }
}

TEST_P(LogisticReference, Statistics) {
    const auto fit = model.computeFitEvaluation(problem.y);
    const auto info = model.computeCoefficientInfo(problem.x, problem.confidence);
    const Matrix first = model.posteriorProbability(problem.x(Util::range(0, 5), Util::all));
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
            {"covariance", model.computeVarianceCovariance(problem.x).getAsDoubleVector()},
            {"posterior_first_rows", rowsOf(first)}});
    const auto collinearity = model.computeFittedMulticollinearity(problem.x);
    const std::string prefix = "collinearity_root_weighted_design.";
    EXPECT_TRUE(
        allNear(collinearity.eigenvalues, reference.vector(prefix + "eigenvalues"), {1e-9, 1e-12}));
    EXPECT_TRUE(allNear(rowsOf(collinearity.varianceProportions),
                        reference.flattened(prefix + "variance_proportions"), {0.0, 1e-8}));
}

INSTANTIATE_TEST_SUITE_P(Data, LogisticReference,
                         testing::Values("birthwt_low", "birthwt_milligrams_nointercept",
                                         "birthwt_weighted_nointercept", "iris_separated",
                                         "mtcars_am", "virginica"));

}  // namespace
}  // namespace Veltrix::Testing

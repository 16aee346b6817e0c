// Linear regression against certified values and results computed elsewhere (origin and tolerances
// in tests/reference/learners/README.md).
#include <string>
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

struct CertifiedCase {
    const char* name;
    double coefficientDigits;
    double errorDigits;
};

class OLSCertified : public testing::TestWithParam<CertifiedCase> {};

TEST_P(OLSCertified, ReachesTheDigits) {
    const CertifiedCase& expected = GetParam();
    for (const auto order : {MatrixOrderType::columnMajor, MatrixOrderType::rowMajor}) {
        const Problem problem(expected.name, order);
        const auto info = problem.fit().computeCoefficientInfo(0.95);
        const auto coefficients = problem.reference.vector("certified.coefficients");
        const auto errors = problem.reference.vector("certified.standard_deviations");
        ASSERT_EQ(info.estimates.size(), coefficients.size());
        for (std::size_t j = 0; j < coefficients.size(); ++j) {
            EXPECT_GE(logRelativeError(info.estimates[j], coefficients[j]),
                      expected.coefficientDigits)
                << "coefficient " << j;
            EXPECT_GE(logRelativeError(info.standardErrors[j], errors[j]), expected.errorDigits)
                << "standard error " << j;
        }
    }
}

// Certified values have 15 digits. Refinement gives the coefficients nearly all of them; standard
// errors rest on the triangle alone. The exact fits (wampler1, wampler2) have certified standard
// errors of 0, which rounding of the sums lets come out as small absolute errors only.
INSTANTIATE_TEST_SUITE_P(
    NIST, OLSCertified,
    testing::Values(CertifiedCase{"norris", 12, 12}, CertifiedCase{"noint1", 14, 14},
                    CertifiedCase{"noint2", 14, 14}, CertifiedCase{"pontius", 13, 12},
                    CertifiedCase{"longley", 14, 12}, CertifiedCase{"wampler1", 14, 8},
                    CertifiedCase{"wampler2", 13, 12}, CertifiedCase{"wampler3", 14, 12},
                    CertifiedCase{"wampler4", 14, 12}, CertifiedCase{"wampler5", 14, 12}),
    [](const auto& suite) { return suite.param.name; });

struct ReferenceCase {
    const char* name;
    double relative;
};

class OLSReference : public testing::TestWithParam<ReferenceCase> {
  protected:
    void expectVector(const Vector& actual, const std::string& quantity) const {
        if (!problem.reference.has(quantity)) return;
        EXPECT_TRUE(allNear(actual, problem.reference.vector(quantity), tolerance)) << quantity;
    }
    void expectScalar(double actual, const std::string& quantity) const {
        if (!problem.reference.has(quantity)) return;
        EXPECT_TRUE(isNear(actual, problem.reference.scalar(quantity), tolerance)) << quantity;
    }
    void expectMatrix(const Matrix& actual, const std::string& quantity,
                      const Tolerance& within) const {
        const Matrix expected = toMatrix(problem.reference.matrix(quantity));
        ASSERT_EQ(actual.getNumRows(), expected.getNumRows()) << quantity;
        EXPECT_TRUE(allNear(actual.getAsDoubleVector(), expected.getAsDoubleVector(), within))
            << quantity;
    }

    const Problem problem{GetParam().name, MatrixOrderType::columnMajor};
    // The floor is for values that are zero up to cancellation, such as a residual of a record
    // that lies on the line.
    const Tolerance tolerance{GetParam().relative, 1e-12, NaNRule::EqualsNaN};
    const Model model = problem.fit();
    const double confidence = problem.reference.scalar("confidence");
};

TEST_P(OLSReference, Coefficients) {
    const auto info = model.computeCoefficientInfo(confidence);
    expectVector(info.estimates, "coefficients");
    expectVector(info.standardErrors, "standard_errors");
    expectVector(info.tStatistics, "t");
    expectVector(info.pValues, "p_values");
    expectVector(info.lowerConfidenceLimits, "lower");
    expectVector(info.upperConfidenceLimits, "upper");
    expectMatrix(model.getCoefficientCovariance(), "covariance", tolerance);
    EXPECT_EQ(model.getRank(), problem.reference.scalar("rank"));
    const auto estimable = problem.reference.vector("estimable_columns");
    ASSERT_EQ(model.getEstimableColumns().size(), estimable.size());
    for (std::size_t k = 0; k < estimable.size(); ++k) {
        EXPECT_EQ(model.getEstimableColumns()[k], estimable[k]);
    }
    EXPECT_EQ(model.rankDeficient(), estimable.size() < info.estimates.size());
}

TEST_P(OLSReference, AnovaAndFit) {
    const auto& anova = model.getANOVA();
    expectScalar(anova.residualDf, "anova.df_residual");
    expectScalar(anova.regressionDf, "anova.df_regression");
    expectScalar(anova.totalDf, "anova.df_total");
    expectScalar(anova.SSE, "anova.sse");
    expectScalar(anova.SSR, "anova.ssr");
    expectScalar(anova.SST, "anova.sst");
    expectScalar(anova.MSE, "anova.mse");
    expectScalar(anova.MSR, "anova.msr");
    expectScalar(anova.MST, "anova.mst");
    expectScalar(anova.standardErrorOfEstimate, "anova.std_error_estimate");
    expectScalar(anova.F, "anova.f");
    expectScalar(anova.pValue, "anova.p_f");
    const auto fit = model.computeFitEvaluation(problem.y);
    expectScalar(fit.R2, "fit.r2");
    expectScalar(fit.adjustedR2, "fit.adj_r2");
    expectScalar(fit.logLikelihood, "fit.loglik");
    expectScalar(fit.interceptOnlyLogLikelihood, "fit.loglik_intercept_only");
}

TEST_P(OLSReference, RecordStatistics) {
    const Vector fitted = model.predict(problem.x);
    expectVector(fitted, "fitted");
    expectVector(model.getLeverages(), "leverage");
    const auto residuals = model.computeResiduals(problem.y, fitted);
    expectVector(residuals.raw, "residuals.raw");
    expectVector(residuals.standardized, "residuals.standardized");
    expectVector(residuals.studentized, "residuals.studentized");
    expectVector(residuals.deleted, "residuals.deleted");
    const auto diagnostics = model.computeDiagnostics(residuals.raw);
    expectVector(diagnostics.deleteOneVariances, "diagnostics.delete1_variance");
    expectVector(diagnostics.dffits, "diagnostics.dffits");
    expectVector(diagnostics.cooksDistances, "diagnostics.cook");
    expectVector(diagnostics.covarianceRatios, "diagnostics.covratio");
    const auto limits = model.computeFittedPredictionIntervals(fitted, confidence);
    expectVector(limits.confidenceLower, "fitted_intervals.ci_lower");
    expectVector(limits.confidenceUpper, "fitted_intervals.ci_upper");
    expectVector(limits.predictionLower, "fitted_intervals.pi_lower");
    expectVector(limits.predictionUpper, "fitted_intervals.pi_upper");
}

TEST_P(OLSReference, NewRecordsAndCollinearity) {
    const ReferenceData& reference = problem.reference;
    if (reference.has("new_records")) {
        const Matrix records = toMatrix(reference.matrix("new_records"));
        const Vector predicted = model.predict(records);
        expectVector(predicted, "new_predictions");
        const auto limits = model.computeNewPredictionIntervals(records, predicted, confidence);
        expectVector(limits.confidenceLower, "new_intervals.ci_lower");
        expectVector(limits.confidenceUpper, "new_intervals.ci_upper");
        expectVector(limits.predictionLower, "new_intervals.pi_lower");
        expectVector(limits.predictionUpper, "new_intervals.pi_upper");
    }
    if (reference.has("collinearity.eigenvalues")) {
        const auto result = model.computeMulticollinearity(problem.x);
        expectVector(result.eigenvalues, "collinearity.eigenvalues");
        expectVector(result.conditionIndices, "collinearity.condition_indices");
        expectMatrix(result.varianceProportions, "collinearity.variance_proportions",
                     {1e-8, 1e-8, NaNRule::Fails});
    }
}

INSTANTIATE_TEST_SUITE_P(
    Computed, OLSReference,
    testing::Values(ReferenceCase{"cars_weighted", 1e-9}, ReferenceCase{"lifecyclesavings", 1e-9},
                    ReferenceCase{"longley", 1e-8}, ReferenceCase{"mtcars_mpg", 1e-9},
                    ReferenceCase{"noint1", 1e-9}, ReferenceCase{"norris", 1e-8},
                    ReferenceCase{"pontius", 1e-6}, ReferenceCase{"stackloss", 1e-9},
                    ReferenceCase{"trees_aliased", 1e-9}, ReferenceCase{"uscrime", 1e-9},
                    ReferenceCase{"women_nointercept", 1e-9}),
    [](const auto& suite) { return suite.param.name; });

}  // namespace
}  // namespace Veltrix::Testing

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/Optimization.h"
#include "Veltrix/Engine/TS/ARIMA/Data.h"
#include "Veltrix/Engine/TS/ARIMA/Model.h"
#include "Veltrix/Engine/TS/ARIMA/ModelParts.h"
#include "Veltrix/Export.h"

/// @file
/// ARIMA models by exact Gaussian maximum likelihood.

namespace Veltrix::Engine::TS::ARIMA {

class Likelihood;
class Search;

/// What evaluations of a likelihood work on. It is no part of a model's value: copies start
/// without.
class VELTRIX_ENGINE_API LikelihoodBuffers {
  public:
    LikelihoodBuffers();
    LikelihoodBuffers(const LikelihoodBuffers& other);
    LikelihoodBuffers(LikelihoodBuffers&& other) noexcept;
    LikelihoodBuffers& operator=(const LikelihoodBuffers& other);
    LikelihoodBuffers& operator=(LikelihoodBuffers&& other) noexcept;
    ~LikelihoodBuffers();

    Likelihood& get();

  private:
    std::unique_ptr<Likelihood> likelihood_;
};

/// How preliminary estimates are made.
enum class InitialEstimates : std::uint32_t {
    innovations = 0,     ///< innovations algorithm on the sample autocovariances
    hannanRissanen = 1,  ///< regression on the residuals of a long autoregression
};

/// A Ljung–Box test: are the autocorrelations of the residuals up to a lag those of noise?
struct LjungBox {
    std::uint64_t lag = 0;               ///< L
    std::uint64_t degreesOfFreedom = 0;  ///< L − p − q
    double statistic = 0.0;              ///< n(n + 2) Σ_{k ≤ L} r_k²/(n − k)
    double pValue = 0.0;                 ///< P(χ² > statistic); NaN without degrees of freedom

    /// Noise is rejected at the level 0.05.
    bool isRejected() const noexcept { return pValue < 0.05; }
};

/// One-step predictions of a series.
struct Predictions {
    std::vector<double> values;     ///< x̂_t = E[x_t | x_1 … x_{t−1}]
    std::vector<double> variances;  ///< r_t = Var(x_t − x̂_t)/σ²
};

/// ARIMA(p, d, q) with D seasonal differences at lag s, fitted to one series by the exact Gaussian
/// likelihood. The processed series w_t = (1 − B)^d (1 − Bˢ)^D x_t − mean, of length n, follows
///
///     w_t = Σ φ_k w_{t−k} + e_t + Σ θ_k e_{t−k},  e_t of variance σ²,
///
/// and minus twice the log-likelihood with σ² = (1/n) Σ (w_t − ŵ_t)²/r_t put in is the objective
///
///     n(ln σ² + ln 2π + 1) + Σ ln r_t
///
/// (Brockwell and Davis 1991, 8.7). The mean stays that of the differenced series.
///
/// Calling order: `loadData`, `preprocess`, `fit`; then `computeModelDetails`,
/// `computeFittedValues`, `forecast`, `computeForecastsStdDev` and `performLjungBoxTest` in any
/// order. Readers answer with NaN or empty lists before. An operation that throws, or is cancelled,
/// leaves the model as it was. A fit reports progress. A fitted model may be read from several
/// threads; the results are the same on every run.
class VELTRIX_ENGINE_API ARMA : public Model, public Optimization::QuasiNewtonOptimizer {
  public:
    using ModelParts = ARIMA::ModelParts;

    ARMA();
    /// Throws `Exception` for an order or a period above 1000000, and for seasonal differences with
    /// a period below 2.
    ARMA(std::uint64_t p, std::uint64_t q, std::uint64_t d = 0, std::uint64_t seasonalD = 0,
         std::uint64_t period = 0);
    /// Given AR and MA coefficients, without differences: likelihoods, weights and forecasts need
    /// no fit, and `fit` keeps the coefficients. Throws `Exception` when one is not finite.
    ARMA(const std::vector<double>& ar, const std::vector<double>& ma);
    /// The same from one list, in which the first `numAr` coefficients are AR. Throws `Exception`
    /// when the list is shorter.
    ARMA(const std::vector<double>& coefficients, std::size_t numAr);
    ARMA(const ARMA&) = default;
    ARMA(ARMA&&) noexcept = default;
    ARMA& operator=(const ARMA& other) { return *this = ARMA(other); }
    ARMA& operator=(ARMA&&) noexcept = default;
    ~ARMA() override;

    /// Where preliminary estimates come from.
    ARMA& setInitialEstimates(InitialEstimates method);
    InitialEstimates getInitialEstimates() const noexcept { return initialEstimates_; }
    /// Number of Ljung–Box tests, at the lags 12, 24, …
    ARMA& setLjungBoxGroupCount(std::uint32_t count);
    std::uint32_t getLjungBoxGroupCount() const noexcept { return ljungBoxGroupCount_; }
    /// Without a constant `preprocess` subtracts no mean. Takes effect with the next `loadData`.
    ARMA& setConstantIncluded(bool included);
    bool isConstantIncluded() const noexcept { return constantIncluded_; }
    /// Whether the coefficients were given to the constructor.
    bool isFixed() const noexcept { return fixed_; }
    bool isFitted() const noexcept { return fitted_; }

    ARMA& loadData(std::vector<double> series) override;
    ARMA& loadData(Data data) override;
    /// `Data::preprocess` and `Data::computePACF(0, m + 1)`.
    ARMA& preprocess() override;

    /// Maximises the likelihood: `minimize` from the preliminary estimates, then, since likelihoods
    /// may have several maxima, from those of the other method, from no dependence and from points
    /// spread over all processes, fewer the longer the series; the best end counts, of equal ones
    /// the first. The search runs over variables in which every AR part is stationary (inverse
    /// hyperbolic tangents of its partial autocorrelations) and every MA part invertible (arc
    /// sines), scaled by `scaleSolution`, with this object's iteration limit and gradient
    /// tolerance; number of iterations and inverse Hessian are those of the best search, in its
    /// variables. With a limit of 0 or less the preliminary estimates are kept. Sets coefficients,
    /// σ², residuals, r_t and lnL, and drops what was computed from an earlier fit. Coefficients of
    /// a series without variance are 0. Throws `TooFewRecords` unless n exceeds the number of
    /// coefficients and every lag of the model.
    ARMA& fit() override;

    /// The objective at given coefficients (laid out as `parameters`), on the processed series: 0
    /// when σ² is below the machine epsilon; 1e300 when the AR part is not stationary or
    /// the sums are not finite. An MA part need not be invertible. Cost per value: the
    /// coefficients other than 0 once r_t has settled, max(p, q) before; nothing is allocated but
    /// the first time. Throws `Exception` when the number of coefficients is another.
    double function(const Vector& parameters) override;

    /// One-step predictions of `series`, on the processed scale, from position `start` on: what
    /// comes before is not used. Throws `Exception` when the coefficients are not stationary or
    /// `start` lies beyond the end.
    virtual Predictions predict(const std::vector<double>& series, std::size_t start = 0) const;

    /// The estimates of the chosen method, and those of the other one if the first are not
    /// stationary and the others have the better likelihood; lnL becomes the objective there.
    virtual ARMA& computeInitialEstimates();
    /// Regression of the series on its own p last values and on q residuals of an autoregression of
    /// order m, where m is above p and q; keeps the coefficients when q + m ≥ n or the regressors
    /// are linearly dependent (Hannan and Rissanen 1982).
    virtual ARMA& performHannanRissanen();
    /// Innovations algorithm up to lag max(m, p + q): its coefficients estimate the ψ weights, from
    /// which the AR part follows by a linear system (Brockwell and Davis 1991, 8.4). Keeps the
    /// coefficients when the series is no longer than that or the system is singular.
    virtual ARMA& performInnovations();

    /// Coefficients, their standard errors and p-values: constant = mean (1 − Σφ) with standard
    /// error √(γ(0)/N) |1 − Σφ|, N the length of the original series, 0 without autocovariances.
    /// Throws `Exception` when the model is not fitted (given coefficients count as fitted).
    /// Computes the covariance and the p-values as well.
    virtual ARMA& computeModelDetails();
    /// Covariance of the coefficients: the inverse of half the Hessian of the objective at the
    /// solution, by central differences with steps of a hundredth of a standard error, at which the
    /// truncation and the rounding are both far below the sampling error. NaN where the Hessian is
    /// singular; a diagonal entry that is not positive stands for a flat likelihood.
    virtual ARMA& computeCoeffsCovarMatrix();
    /// 2Φ(−|estimate/standard error|); 0 where the standard error is below the machine epsilon.
    virtual ARMA& computePValues();

    /// Fitted values: the one-step predictions on the original scale, after the first N − n values
    /// of the series itself; and the residuals w_t − ŵ_t on the processed scale. Throws `Exception`
    /// as `predict` does.
    virtual ARMA& computeFittedValues();

    /// Forecasts of the next `horizon` values, on the original scale, from the exact prediction
    /// given all values. Throws `Exception` for a horizon above 10000000, as `predict` does, and
    /// when no series is loaded.
    virtual const std::vector<double>& forecast(std::size_t horizon);
    /// Forecasts of another series on the original scale, which is differenced as the model says
    /// and less the model's own mean; the model stays as it is.
    virtual std::vector<double> forecast(const std::vector<double>& series,
                                         std::size_t horizon) const;
    /// Standard deviations √(σ² Σ_{j<i} ψ_j²) for the steps i of the last forecast, with the
    /// weights of the ARMA part alone: those of the processed scale.
    virtual ARMA& computeForecastsStdDev();
    /// The same with the differences multiplied into the AR part: the standard deviations of the
    /// forecasts themselves, which prediction limits need when d or D is above 0.
    virtual ARMA& computeIntegratedForecastsStdDev();

    /// Tests at the lags L = 12, 24, … while the residuals are more than L and, for a statistic, L
    /// at least p + q; nothing when the series has fewer than 13 values or the residuals are
    /// constant. The autocorrelations are those of the mean-corrected residuals.
    virtual ARMA& performLjungBoxTest();

    /// Autocovariances of the process with innovation variance 1 for the lags 0 to `lags`. Throws
    /// `Exception` when the coefficients are not stationary.
    virtual std::vector<double> computeAutoCovariance(std::size_t lags) const;
    /// Makes the list of weights ψ_0, …, ψ_h of the infinite moving average h + 1 long.
    virtual ARMA& computePsi(std::size_t h);
    /// (1/n) Σ (x_t − x̂_t)²/r_t; 0 for an empty series.
    virtual double computeWhiteNoiseVariance(const std::vector<double>& series,
                                             const Predictions& predictions) const;
    /// The variables of a search divided by their typical size: partial autocorrelations of n
    /// values scatter by 1/√n, so that in the result a step of 1 is a standard error or less.
    virtual Vector scaleSolution(const Vector& variables) const;

    /// lnL + 2k with k = p + q + 2.
    virtual double aic() const;
    /// aic + 2k(k + 1)/(n − k − 1); the largest double when k + 1 ≥ n.
    virtual double aicc() const;
    /// lnL + k ln n.
    virtual double bic() const;
    /// The objective at the solution, minus twice the log-likelihood.
    virtual double lnL() const { return lnL_; }
    double whiteNoiseVariance() const override { return whiteNoiseVariance_; }

    // Their names are like those of the plain orders on purpose.
    // NOLINTBEGIN(bugprone-virtual-near-miss)
    /// Seasonal orders P and Q.
    virtual std::uint64_t sarOrder() const { return 0; }
    virtual std::uint64_t smaOrder() const { return 0; }
    virtual std::uint64_t minOrder() const;
    virtual std::uint64_t maxOrder() const;
    // NOLINTEND(bugprone-virtual-near-miss)
    /// Number of coefficients.
    virtual std::uint64_t numVars() const { return parameters_.size(); }

    virtual const std::vector<double>& residuals() const { return residuals_; }
    virtual const std::vector<double>& fitted() const { return fittedValues_; }
    virtual const std::vector<double>& forecasts() const { return forecasts_; }
    virtual const std::vector<double>& forecastsStdDev() const { return forecastsStdDev_; }
    const std::vector<double>& integratedForecastsStdDev() const noexcept {
        return integratedForecastsStdDev_;
    }
    const std::vector<double>& innovationVariances() const noexcept { return variances_; }
    const std::vector<double>& psi() const noexcept { return psi_; }
    /// Square, in the order of `parameters`.
    virtual const Matrix& covarMatrix() const { return covarMatrix_; }
    const ModelParts& details() const noexcept { return details_; }
    const ModelParts& standardErrors() const noexcept { return standardErrors_; }
    const ModelParts& pValues() const noexcept { return pValues_; }
    const std::vector<LjungBox>& ljungBox() const noexcept { return ljungBox_; }

    /// "Fitted Values": columns "Actual", "Fitted", "Residual", a row for each value of the
    /// original series; NaN for the first N − n, which differencing takes. Computes what it shows.
    DataFrame getFittedFrame() const;
    /// "Forecasts": columns "Forecast", "Std. Dev.", "Lower", "Upper", a row for each of `horizon`
    /// steps; the limits are forecast ± z·sd with the integrated standard deviations and z the
    /// normal quantile of (1 + confidence)/2. Throws `Exception` unless 0 < confidence < 1, and as
    /// `forecast`.
    DataFrame getForecastFrame(std::size_t horizon, double confidence = 0.95) const;
    /// "Coefficients": columns "Estimate", "Std. Error", "p-Value", rows "Constant" (with a
    /// constant), "AR 1", …, "MA 1", …, "Seasonal AR 1", …, "Seasonal MA 1", …; those of the last
    /// `computeModelDetails`.
    DataFrame getCoefficientFrame() const;

  protected:
    /// Coefficients, series and all results; the inverse Hessian of the search is left out.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

    /// The AR and MA coefficients of the one long model that given coefficients stand for.
    virtual void expand(const Vector& parameters, std::vector<double>& ar,
                        std::vector<double>& ma) const;
    /// The longest lag of a coefficient.
    virtual std::uint64_t longestLag() const { return maxOrder(); }
    /// Whether the invertible processes are those in which each MA part is invertible.
    virtual bool isMovingAverageFactored() const { return true; }
    /// The estimates of a method; nothing when it cannot say.
    virtual Vector preliminary(InitialEstimates method) const;
    /// The fit with that many spread starting points; with 0 of them from the preliminary estimates
    /// alone.
    ARMA& fitFrom(std::size_t numSpread);
    /// The ARMA(p, q) fit of a series as it is, with no spread starting points; coefficients 0 when
    /// the series is too short.
    ARMA quickFit(std::vector<double> series, std::uint64_t p, std::uint64_t q,
                  InitialEstimates method) const;

    InitialEstimates initialEstimates_ = InitialEstimates::hannanRissanen;
    std::uint32_t ljungBoxGroupCount_ = 4;
    std::uint64_t depth_ = 1;  ///< m
    bool constantIncluded_ = true;
    bool fixed_ = false;

  private:
    friend struct Stored<ARMA>;
    friend class Search;

    void drop();
    void checkFitted(const char* operation) const;
    bool follow(Likelihood& likelihood, const Vector& parameters) const;
    void followOwn(Likelihood& likelihood, const char* operation) const;
    double relativeObjective(Likelihood& likelihood, const Vector& parameters,
                             std::size_t most) const;
    void checkEnough() const;
    Vector initialVector();
    Vector invertible(Search& best, const Vector& solution,
                      const std::vector<std::pair<double, Vector>>& ends) const;
    void addOtherStarts(const Search& search, std::vector<Vector>& starts) const;
    Vector solve(Search& best, std::size_t numSpread);
    std::vector<double> forecastProcessed(const Data& data, std::size_t horizon) const;
    std::vector<double> stdDevs(std::size_t horizon, bool integratedWeights) const;
    ModelParts parts(const Vector& values, double constant) const;
    Matrix hessian(Likelihood& likelihood) const;
    Matrix coefficientCovariance() const;

    bool fitted_ = false;
    double lnL_;
    std::vector<double> residuals_;
    std::vector<double> variances_;
    std::vector<double> fittedValues_;
    std::vector<double> forecasts_;
    std::vector<double> forecastsStdDev_;
    std::vector<double> integratedForecastsStdDev_;
    std::vector<double> psi_;
    Matrix covarMatrix_;
    ModelParts details_;
    ModelParts standardErrors_;
    ModelParts pValues_;
    std::vector<LjungBox> ljungBox_;
    LikelihoodBuffers buffers_;
};

}  // namespace Veltrix::Engine::TS::ARIMA

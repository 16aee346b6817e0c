#pragma once

#include <string_view>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Engine/Roles.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::DA {

/// Gaussian discriminant analysis (Fisher 1936; Welch 1939): in each group g the records are taken
/// to be normal with mean μ_g and prior probability π_g, so that the posterior probability of g is
/// in proportion to the exponential of the score
///
///     linear:     xᵀΣ⁻¹μ_g − ½μ_gᵀΣ⁻¹μ_g + ln π_g                                Σ pooled
///     quadratic:  −½xᵀΣ_g⁻¹x + xᵀΣ_g⁻¹μ_g − ½μ_gᵀΣ_g⁻¹μ_g − ½ln det Σ_g + ln π_g
///
/// with covariances of divisor n_g − 1, and n − G for the pooled one. Scores are formed about the
/// middle of the data, which leaves their differences as they are and keeps the digits of data far
/// from 0.
///
/// Groups are the classes in the order of the class list, which a fit without one sets: the
/// distinct labels ascending, or "0", "1", … for codes. Priors count as they stand, 0 included, and
/// need not sum to 1; without any a fit takes the groups' shares of the records. They act through
/// the fit: those set afterwards wait for the next one. A second fit keeps the classes and priors
/// of the first unless they are set anew; empty ones take those set away.
///
/// A fit throws, and leaves the model as it was:
///  - `DAInvalidWithinClassVariance` when a column's variance (pooled, or in a group of a quadratic
///    analysis) is 0, NaN or infinite: constant columns, NaN and infinite values, no more records
///    than groups, a group of one record in a quadratic analysis;
///  - `Exception` when a column depends linearly on those before it: the variance that they leave
///  of
///    it is at most 16pε of its own, or within the rounding of its values;
///  - `Exception` without records or columns, for codes or labels of no class, a class without
///    records, groups of another length than x, and priors that are negative, not finite or all 0;
///  - `std::out_of_range` for a class without a prior when others have one.
///
/// n records of p columns cost O(np²), for the quadratic analysis beside G matrices of p × p. Fits
/// and queries report progress. A fitted model may be read from several threads.
class VELTRIX_ENGINE_API Model : public Classification::Modelable, public JSON::Storable {
  public:
    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    /// A covariance for each group instead of the pooled one, from the next fit on.
    Model& setQuadratic(bool quadratic);
    bool isQuadratic() const noexcept { return quadratic_; }
    /// Priors in the order of the groups, instead of those there are. A class list of another
    /// length becomes "0", "1", …. None: the next fit takes the groups' shares.
    Model& setPriors(const Vector& priors);
    Model& setClasses(const StringVector& classes) override;
    Model& setSuccessClass(const WString& successClass) override;
    Model& setSuccessProbabilityCutoff(double cutoff) override;
    Model& setPrior(const WString& label, double prior) override;
    Model& setPrior(const PriorMap& priors) override;

    using Modelable::fit;
    /// x is n × p, `groups` the code of every record, from 0.
    Model& fit(const Matrix& x, const IntVector& groups);
    /// The same with the labels of classes.
    Model& fit(const Matrix& x, const StringVector& labels);
    /// Throws the bad-cast error as well, for a cell of x that is not a number.
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& labels);

    /// Posterior probabilities, n × G in the storage order of x: for each record the scores less
    /// their largest are exponentiated and divided by their sum. A record with a NaN, or with
    /// values whose scores overflow, gets NaN. Memory beyond the result stays below 4 MiB unless p
    /// or G exceed 1000. Throws `Exception` before a fit and for another number of columns.
    Matrix posteriorProbability(const Matrix& x) const;
    /// One column per class; the name is "Posterior Probability: " and that of x. Columns are
    /// matched by `FrameColumns`.
    DataFrame posteriorProbability(const DataFrame& x) const;

    /// μ_g, p × G; empty before a fit, as all that follows.
    const Matrix& getGroupMeans() const noexcept { return fitted_.means; }
    /// Σ⁻¹μ_g or Σ_g⁻¹μ_g, p × G.
    const Matrix& getCoefficients() const noexcept { return fitted_.coefficients; }
    /// The terms of the scores without x, length G; −infinity for a prior of 0.
    const Vector& getConstants() const noexcept { return fitted_.constants; }
    /// −½Σ_g⁻¹, p × p for each group; none after a linear fit.
    const std::vector<Matrix>& getQuadraticTerms() const noexcept { return fitted_.quadraticTerms; }
    /// Empty after a fit on a matrix.
    const FrameColumns& getFrameColumns() const noexcept { return columns_; }

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    struct Fitted {
        Matrix means;
        Matrix coefficients;
        Vector constants;
        std::vector<Matrix> quadraticTerms;
        /// Scores about centres: (x − centre)ᵀ·direction + offset, or offset − ½‖(1, x −
        /// μ_g)·root‖² with Σ_g⁻¹ = RRᵀ for the upper triangular rows R below the first of a root,
        /// which takes the rounding of μ_g away.
        Vector centre;
        Matrix directions;
        std::vector<Matrix> roots;
        Vector offsets;
    };
    friend struct Stored<Fitted>;

    static void validateCovariance(const Matrix& covariance);
    static Fitted fitLinear(const Matrix& x, const IntVector& groups, const Vector& priors);
    static Fitted fitQuadratic(const Matrix& x, const IntVector& groups, const Vector& priors);
    Model& fitLabels(const Matrix& x, const ConstDataFrameColumn& labels, FrameColumns columns);
    Model& fitCodes(const Matrix& x, const IntVector& groups, Model model);

    bool quadratic_ = false;
    Fitted fitted_;
    FrameColumns columns_;
};

}  // namespace Veltrix::Engine::DA

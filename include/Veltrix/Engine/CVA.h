#pragma once

#include <string_view>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::CVA {

/// Canonical variate analysis (Fisher 1936; Rao 1948): the directions v in which classes differ
/// most beside the spread within them, which solve
///
///     B v = λ W v,   vᵀWv = 1,
///
/// with the scatter between classes B = Σ_c n_c (μ_c − μ)(μ_c − μ)ᵀ and within them
/// W = Σ_c Σ_{i in c} (x_i − μ_c)(x_i − μ_c)ᵀ. Of p columns and g classes at most min(p, g − 1)
/// eigenvalues are not 0 (`Util::countZero`); their directions are kept, the least λ first.
///
/// A fit whose classes do not differ (a single one among them) keeps no direction: the coefficients
/// stay those of an earlier fit, empty in a new model.
///
/// A fit throws `Exception`, and leaves the model as it was, without records or columns, for a
/// value that is NaN or infinite (naming row and column, from 0), with fewer than p more records
/// than classes, and for a column that does not vary within the classes or depends linearly on
/// others. Cost O(np² + p³). Fits and projections report progress. A fitted model may be read from
/// several threads.
class VELTRIX_ENGINE_API Model : public JSON::Storable {
  public:
    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    /// X is n × p, y the class of every record, any numbers.
    Model& fit(const Matrix& x, const IntVector& y);
    /// Throws the bad-cast error as well, for a cell of x that is not a number.
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& labels);

    /// X·coefficients, n × variates in the storage order and with the name of X; no columns after a
    /// first fit without variates. Throws `Exception` before a fit and for another number of
    /// columns than in training.
    Matrix transform(const Matrix& x) const;
    /// Columns "Variate 1", …; the name is "Scores: " and that of x. Columns are matched by
    /// `FrameColumns`.
    DataFrame transform(const DataFrame& x) const;

    /// p × variates.
    const Matrix& getCoefficients() const noexcept { return coefficients_; }
    /// λ of the variates: between over within scatter of their scores.
    const Vector& getEigenvalues() const noexcept { return eigenvalues_; }
    /// p; 0 before a fit.
    int getNumColumns() const noexcept { return numColumns_; }
    /// Empty after a fit on a matrix.
    const FrameColumns& getFrameColumns() const noexcept { return columns_; }

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    Model& fitNamed(const Matrix& x, const IntVector& y, FrameColumns columns);

    Matrix coefficients_;
    Vector eigenvalues_;
    int numColumns_ = 0;
    FrameColumns columns_;
};

}  // namespace Veltrix::Engine::CVA

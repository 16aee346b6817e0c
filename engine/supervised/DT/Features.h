#pragma once

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Factorizer.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::DT {

/// Training features as growth reads them: each column once, and then single values only, so that
/// no copy of the data is needed.
class Features {
  public:
    Features() = default;
    Features(const Features&) = delete;
    Features& operator=(const Features&) = delete;
    virtual ~Features() = default;

    virtual int numRows() const = 0;
    virtual int numCols() const = 0;
    /// Numbers, or category codes.
    virtual Vector column(int j) const = 0;
    /// A cell of a column of numbers.
    virtual double number(int i, int j) const = 0;
};

class MatrixFeatures : public Features {
  public:
    explicit MatrixFeatures(const Matrix& x) : x_(x) {}
    int numRows() const override { return x_.getNumRows(); }
    int numCols() const override { return x_.getNumCols(); }
    Vector column(int j) const override;
    double number(int i, int j) const override { return x_(i, j); }

  private:
    const Matrix& x_;
};

/// A frame whose categories are known to a factorizer.
class FrameFeatures : public Features {
  public:
    FrameFeatures(const DataFrame& frame, const Factorizer& inputs)
        : frame_(frame), inputs_(inputs) {}
    int numRows() const override { return frame_.getNumRows(); }
    int numCols() const override { return frame_.getNumCols(); }
    Vector column(int j) const override;
    double number(int i, int j) const override { return frame_(i, j).toDouble(); }

  private:
    const DataFrame& frame_;
    const Factorizer& inputs_;
};

}  // namespace Veltrix::Engine::DT

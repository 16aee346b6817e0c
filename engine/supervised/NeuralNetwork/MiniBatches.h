#pragma once

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Engine/NeuralNetwork/Model.h"

namespace Veltrix::Engine::NeuralNetwork {

/// Divides records into runs of equal size and a rest.
class MiniBatches {
  public:
    /// The matrices must outlive this.
    MiniBatches(const Matrix& x, const Matrix& y, int size);

    /// Another order of the records; the usual one before.
    void shuffle(unsigned seed);
    int count() const { return wholeRuns() + (x_.getNumCols() % size_ == 0 ? 0 : 1); }
    int wholeRuns() const { return x_.getNumCols() / size_; }
    /// Copies the records of a run.
    void load(int index, Batch& batch) const;

  private:
    void gather(const Matrix& from, int first, int count, Matrix& to) const;

    const Matrix& x_;
    const Matrix& y_;
    int size_;
    IntVector order_;  ///< empty for the usual order
};

}  // namespace Veltrix::Engine::NeuralNetwork

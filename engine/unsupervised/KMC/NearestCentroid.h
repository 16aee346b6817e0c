#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Storage.h"
#include "Veltrix/Data/Vector.h"

namespace Veltrix::Engine::KMC {

/// Steps from a row, and from a column, to the next one.
struct Steps {
    explicit Steps(const Matrix& x)
        : row(x.getMatrixOrder() == MatrixOrderType::rowMajor ? x.getNumCols() : 1),
          column(x.getMatrixOrder() == MatrixOrderType::rowMajor ? 1 : x.getNumRows()) {}

    std::int64_t row;
    std::int64_t column;
};

/// Largest absolute value of a matrix. Throws `Exception` that names the first value (by rows) that
/// is not finite.
double checkFinite(const char* operation, const Matrix& x);

/// The nearest centroid of every record by squared Euclidean distance, the first one on ties:
/// `Util::indexesOfRowMin(Util::pairwiseDistance(x, centroids, true))` in bounded memory.
IntVector nearestByDistance(const Matrix& x, const Matrix& centroids);

/// The same, time and again for the records of one matrix and changing centroids.
///
/// Moved to the middle m of the records and scaled to magnitudes up to 1, half the squared distance
/// of record r and centroid c is f(c) = ‖c‖²/2 − rᵀc up to a term that all centroids share. In
/// single precision f is off by at most ε = κ(‖r‖‖c‖ + ‖c‖²/2 + floor), κ a little more than the
/// number of coordinates times the unit roundoff (Higham 2002, section 3.1). A record is settled
/// when f of one centroid is certain to be least; the others, few unless there are ties, get
/// their distances in double precision.
class NearestCentroid {
  public:
    /// Keeps a reference to the matrix. `largest` is its largest absolute value.
    NearestCentroid(const Matrix& x, double largest);

    /// As `nearestByDistance(x, centroids)`.
    void find(const Matrix& centroids, IntVector& nearest) const;

  private:
    void packRecords(std::int64_t first, float* panel) const;
    struct PackedCentroids {
        std::vector<float> values;
        std::vector<float> offsets;
        std::vector<float> lengths;
    };
    /// False where single precision cannot hold the centroids.
    bool packCentroids(const Matrix& centroids, PackedCentroids& packed) const;

    const Matrix& x_;
    double slope_;  ///< κ
    double scale_ = 1.0;
    Vector middle_;
    Storage::Buffer<float> records_;  ///< in panels; empty when everything is done in double
};

}  // namespace Veltrix::Engine::KMC

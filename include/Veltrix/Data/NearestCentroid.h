#pragma once

#include <memory>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// The nearest centroid of every row of x by squared Euclidean distance, the first one on ties:
///
///     Util::indexesOfRowMin(Util::pairwiseDistance(x, centroids, true))
///
/// in bounded memory, with the same distances bit for bit. Throws `Exception` when the numbers of
/// columns differ. Reports progress. O(rows · centroids · columns) time.
VELTRIX_DATA_API IntVector nearestCentroids(const Matrix& x, const Matrix& centroids);

/// The same, time and again for the rows of one matrix and changing centroids: most rows are
/// settled in single precision, where a bound on its rounding error leaves no doubt, the others as
/// by `nearestCentroids`. Memory: half of x.
class VELTRIX_DATA_API NearestCentroid {
  public:
    /// Keeps a reference to the matrix, whose values must be finite (`Exception` that names the
    /// operation and the entry).
    explicit NearestCentroid(const Matrix& x, const char* operation = "Nearest centroids");
    NearestCentroid(const NearestCentroid&) = delete;
    NearestCentroid& operator=(const NearestCentroid&) = delete;
    ~NearestCentroid();

    /// `nearest` gets one entry a row.
    void find(const Matrix& centroids, IntVector& nearest) const;

  private:
    class Screening;

    const Matrix& x_;
    std::unique_ptr<const Screening> screening_;  ///< none when everything is done in double
};

}  // namespace Veltrix

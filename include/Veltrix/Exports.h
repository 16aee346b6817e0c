#pragma once

/// @file
/// The plain functions, for callers that cannot use classes; compiles as C and as C++. No exception
/// leaves them.

#include "Veltrix/Export.h"

#ifdef __cplusplus
#include <vector>

#include "Veltrix/Data/WString.h"

/// Wide strings on the heap, as an export hands them out.
using VtxStringArray = std::vector<Veltrix::WString>;

extern "C" {
#else
/// Wide strings on the heap, as an export hands them out; opaque to C.
typedef struct VtxStringArray VtxStringArray;
#endif

/// k-means clustering of the rows of a matrix; see `Engine::KMC::Model`.
///
/// `values` are numRows x numColumns finite doubles column by column: row i, column j stands at
/// [j * numRows + i]. The settings are those of `Engine::KMC::Params`; of the seed the 32 bits
/// count. Writes the cluster of row i, counted from 0, to out[i].
///
/// Returns 0, or, with `out` as it was:
/// - 1 when an argument is not allowed: a null pointer, no row or no column, a setting above
///   2147483647 (seed aside), a value that is not finite, no cluster or more of them than rows, no
///   random start;
/// - 2 when there is not enough memory;
/// - 3 for anything else.
VELTRIX_ENGINE_API int RunCluster(unsigned numColumns, int numRows, const double* values,
                                  unsigned numClusters, unsigned maxIterations,
                                  unsigned numRandomStarts, unsigned seed, int* out);

/// Frees wide strings that another export handed out; a null pointer is ignored.
VELTRIX_ENGINE_API void VTX_DeleteStringArray(VtxStringArray* strings);

#ifdef __cplusplus
}
#endif

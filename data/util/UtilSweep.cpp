#include <algorithm>
#include <cstdint>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "support/kernels/Arrays.h"

namespace Veltrix {
namespace {

constexpr const char* kSweep = "Sweep";

void sweepOn(Matrix& a, int k) {
    if (a(k, k) == 0.0) {
        Checks::fail(ErrorCode::singular, kSweep,
                     "diagonal element " + std::to_string(k) + " is 0");
    }
    // The column of the pivot is what changes sign: the line along it, or the others' elements.
    const double alongSign = a.getMatrixOrder() == MatrixOrderType::columnMajor ? -1.0 : 1.0;
    Kernels::arrays().sweep(a.getNumRows(), a.data(), k, alongSign);
}

/// The index of the input that goes to each position.
IntVector sources(const char* operation, const IntVector& permutation, int count,
                  PermutationType type) {
    Checks::enumerator(operation, "type", type, 1, 2);
    Checks::counts(operation, permutation.size(), "indexes in the permutation", count,
                   "in the matrix");
    Checks::indexes(operation, "index", {permutation.data(), permutation.size()}, count);
    IntVector inverse(permutation.size(), -1);
    for (int k = 0; k < count; ++k) {
        int& place =
            inverse[static_cast<std::uint64_t>(permutation[static_cast<std::uint64_t>(k)])];
        if (place >= 0) {
            Checks::fail(ErrorCode::invalidArgument, operation,
                         "index " + std::to_string(permutation[static_cast<std::uint64_t>(k)]) +
                             " stands twice in the permutation");
        }
        place = k;
    }
    return type == PermutationType::inverse ? inverse : permutation;
}

}  // namespace

void Util::sweep(Matrix& a, int k) { sweep(a, IntVector{k}); }

void Util::sweep(Matrix& a, const IntVector& pivots) {
    Checks::square(a);
    Checks::indexes(kSweep, "pivot", {pivots.data(), pivots.size()}, a.getNumRows());
    if (pivots.size() == 1) return sweepOn(a, pivots[0]);
    Matrix swept(a);
    for (const int k : pivots) sweepOn(swept, k);
    a = std::move(swept);
}

Matrix Util::sweep(const Matrix& a, int k) {
    Matrix result(a);
    sweep(result, IntVector{k});
    return result;
}

double Util::residualSumOfSquares(const Matrix& swept) {
    Checks::square(swept);
    return swept.last();
}

void Util::permuteRows(Matrix& a, const IntVector& permutation, PermutationType type) {
    a = a(sources("Permutation of rows", permutation, a.getNumRows(), type), all);
}

void Util::permuteCols(Matrix& a, const IntVector& permutation, PermutationType type) {
    a = a(all, sources("Permutation of columns", permutation, a.getNumCols(), type));
}

}  // namespace Veltrix

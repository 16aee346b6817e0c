// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/RowBlocksImpl.h"

const Veltrix::Kernels::RowBlocks Veltrix::Kernels::kRowBlocksAvx2 = {
    fold, apply, addRowNorms, addNormalResidual, largestMagnitude};
#endif

#include "support/kernels/RowBlocksImpl.h"

const Veltrix::Kernels::RowBlocks Veltrix::Kernels::kRowBlocksBaseline = {
    fold, apply, addRowNorms, addNormalResidual, largestMagnitude};

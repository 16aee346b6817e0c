#include "support/kernels/BitRowsImpl.h"

const Veltrix::Kernels::BitRows Veltrix::Kernels::kBitRowsBaseline = {count, intersect};

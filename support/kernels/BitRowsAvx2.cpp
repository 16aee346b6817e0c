// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/BitRowsImpl.h"

const Veltrix::Kernels::BitRows Veltrix::Kernels::kBitRowsAvx2 = {count, intersect};
#endif

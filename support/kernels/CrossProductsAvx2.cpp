// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/CrossProductsImpl.h"

const Veltrix::Kernels::CrossProducts Veltrix::Kernels::kCrossProductsAvx2 = {combine, addProducts,
                                                                              addCrossProduct};
#endif

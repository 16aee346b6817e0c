// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/CentroidsImpl.h"

const Veltrix::Kernels::Centroids Veltrix::Kernels::kCentroidsAvx2 = {screen, addToGroups};
#endif

#include "support/kernels/Centroids.h"

namespace Veltrix::Kernels {

const Centroids& centroids() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (wide) return kCentroidsAvx2;
#endif
    return kCentroidsBaseline;
}

}  // namespace Veltrix::Kernels

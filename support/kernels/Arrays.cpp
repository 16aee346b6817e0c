#include "support/kernels/Arrays.h"

namespace Veltrix::Kernels {

const Arrays& arrays() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (wide) return kArraysAvx2;
#endif
    return kArraysBaseline;
}

}  // namespace Veltrix::Kernels

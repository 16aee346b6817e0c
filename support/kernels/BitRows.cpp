#include "support/kernels/BitRows.h"

namespace Veltrix::Kernels {

const BitRows& bitRows() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (wide) return kBitRowsAvx2;
#endif
    return kBitRowsBaseline;
}

}  // namespace Veltrix::Kernels

#include "support/kernels/RowBlocks.h"

namespace Veltrix::Kernels {

const RowBlocks& rowBlocks() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (wide) return kRowBlocksAvx2;
#endif
    return kRowBlocksBaseline;
}

}  // namespace Veltrix::Kernels

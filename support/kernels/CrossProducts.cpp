#include "support/kernels/CrossProducts.h"

namespace Veltrix::Kernels {

const CrossProducts& crossProducts() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (wide) return kCrossProductsAvx2;
#endif
    return kCrossProductsBaseline;
}

}  // namespace Veltrix::Kernels

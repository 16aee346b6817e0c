#include "support/kernels/LinkageUpdates.h"

namespace Veltrix::Kernels {

const LinkageUpdates& linkageUpdates() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    if (wide) return kLinkageUpdatesAvx2;
#endif
    return kLinkageUpdatesBaseline;
}

}  // namespace Veltrix::Kernels

#include "support/kernels/ClusterRows.h"

namespace Veltrix::Kernels {
namespace {

bool isWide() {
#if defined(__x86_64__)
    static const bool wide = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return wide;
#else
    return false;
#endif
}

}  // namespace

template <>
const ClusterRows<float>& clusterRows() {
#if defined(__x86_64__)
    if (isWide()) return kClusterRowsAvx2Single;
#endif
    return kClusterRowsBaselineSingle;
}

template <>
const ClusterRows<double>& clusterRows() {
#if defined(__x86_64__)
    if (isWide()) return kClusterRowsAvx2;
#endif
    return kClusterRowsBaseline;
}

}  // namespace Veltrix::Kernels

// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/ClusterRowsImpl.h"

namespace Veltrix::Kernels {

const ClusterRows<float> kClusterRowsAvx2Single = clusterRowsOf<float>();
const ClusterRows<double> kClusterRowsAvx2 = clusterRowsOf<double>();

}  // namespace Veltrix::Kernels
#endif

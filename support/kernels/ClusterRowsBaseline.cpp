#include "support/kernels/ClusterRowsImpl.h"

namespace Veltrix::Kernels {

const ClusterRows<float> kClusterRowsBaselineSingle = clusterRowsOf<float>();
const ClusterRows<double> kClusterRowsBaseline = clusterRowsOf<double>();

}  // namespace Veltrix::Kernels

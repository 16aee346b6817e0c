#include "support/kernels/CentroidsImpl.h"

const Veltrix::Kernels::Centroids Veltrix::Kernels::kCentroidsBaseline = {screen, addToGroups};

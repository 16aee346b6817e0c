#include "support/kernels/CrossProductsImpl.h"

const Veltrix::Kernels::CrossProducts Veltrix::Kernels::kCrossProductsBaseline = {
    combine, addProducts, addCrossProduct};

// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/LinkageUpdatesImpl.h"

const Veltrix::Kernels::LinkageUpdates Veltrix::Kernels::kLinkageUpdatesAvx2 = kLinkageUpdates;
#endif

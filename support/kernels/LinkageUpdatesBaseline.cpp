#include "support/kernels/LinkageUpdatesImpl.h"

const Veltrix::Kernels::LinkageUpdates Veltrix::Kernels::kLinkageUpdatesBaseline = kLinkageUpdates;

// Compiled for AVX2 and FMA; reached only on processors that have both.
#if defined(__x86_64__)
#include "support/kernels/ArraysImpl.h"

const Veltrix::Kernels::Arrays Veltrix::Kernels::kArraysAvx2 = kArrays;
#endif

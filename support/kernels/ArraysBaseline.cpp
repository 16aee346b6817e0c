#include "support/kernels/ArraysImpl.h"

const Veltrix::Kernels::Arrays Veltrix::Kernels::kArraysBaseline = kArrays;

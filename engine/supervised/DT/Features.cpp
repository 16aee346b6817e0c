#include "engine/supervised/DT/Features.h"

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "engine/supervised/DT/FrameCoding.h"

namespace Veltrix::Engine::DT {

Vector MatrixFeatures::column(int j) const {
    return Convert::toDoubleVector(x_(Veltrix::Util::all, j));
}

Vector FrameFeatures::column(int j) const { return encodeColumn(frame_, j, j, inputs_); }

}  // namespace Veltrix::Engine::DT

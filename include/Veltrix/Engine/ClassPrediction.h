#pragma once

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix::Classification::Engine {

/// Predicted classes from posterior probabilities: one row per record, one column per class, the
/// column names being the labels. The result has one column "Class", the input's row names, and
/// the input's name with "Posterior Probability" replaced by "Prediction".
///
/// A row with a NaN gets the label "nan". When a success class and cutoff are given and the frame
/// has exactly two columns, one of them the success class, a row gets the success class when its
/// probability is at least the cutoff and the other label otherwise. In every other case it gets
/// the label of its largest probability; ties go to the larger prior when priors are given, then to
/// the first column. Priors whose length is not the number of columns are ignored. A cell that is
/// not a number throws the bad-cast error.
VELTRIX_ENGINE_API DataFrame predict(const DataFrame& posteriors);
VELTRIX_ENGINE_API DataFrame predict(const DataFrame& posteriors, const Vector& priors);
VELTRIX_ENGINE_API DataFrame predict(const DataFrame& posteriors, const Vector& priors,
                                     const WString& successClass, double cutoff);
VELTRIX_ENGINE_API DataFrame predict(const DataFrame& posteriors, const WString& successClass,
                                     double cutoff);

}  // namespace Veltrix::Classification::Engine

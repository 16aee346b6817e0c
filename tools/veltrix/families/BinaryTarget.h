#pragma once

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "tools/veltrix/host/ClassRoles.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/host/Scores.h"

/// @file
/// Targets of two classes, one of which is modelled as 1 and the other as 0.

namespace Veltrix::Tool {

/// The classes with the priors given, else their shares of the training records; the success class
/// is the last in ascending order unless one was named. Throws `UserError` unless there are two.
ClassRoles binaryRoles(const Prepared& data);

/// 1 for training records of the success class, else 0.
Vector successes(const Prepared& data, const ClassRoles& roles);

/// The classes that probabilities of success and failure (n × 2) make.
Scores binaryScores(const Matrix& probabilities, const ClassRoles& roles);

}  // namespace Veltrix::Tool

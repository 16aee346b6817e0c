#pragma once

#include "tools/veltrix/host/PartScores.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// Appends what the predicted classes and probabilities are worth: a confusion matrix for each
/// part, of which the first is returned, the measures of all parts, those of each class against the
/// rest, and gains and lift with their charts and that of the ROC curve. The latter are of the
/// success class, or of each class when none is named.
Table* addClassEvaluation(ReportBuilder& report, const Prepared& data, const AllScores& scores,
                          const ClassRoles& roles);

}  // namespace Veltrix::Tool

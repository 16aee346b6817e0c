#pragma once

#include "tools/veltrix/host/PartScores.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// Appends what the predicted numbers are worth: the error measures of all parts, which are
/// returned, and for each part the lift by deciles of the predictions, with its chart and that of
/// the share of records within an error.
Table* addNumberEvaluation(ReportBuilder& report, const Prepared& data, const AllScores& scores);

}  // namespace Veltrix::Tool

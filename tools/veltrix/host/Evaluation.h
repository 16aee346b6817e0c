#pragma once

#include "tools/veltrix/host/Family.h"

namespace Veltrix::Tool {

/// Rows read, used and left out of each part.
void addParts(ReportBuilder& report, const Prepared& data);

/// Prior and number of records in each part of every class; nothing without classes.
void addClasses(ReportBuilder& report, const Prepared& data, const ClassRoles& roles);

/// What the model's predictions are worth in each part in use (`addClassEvaluation`,
/// `addNumberEvaluation`), and then the scores of the records of each part.
void addEvaluation(ReportBuilder& report, const Prepared& data, const RecordFamily& family);

}  // namespace Veltrix::Tool

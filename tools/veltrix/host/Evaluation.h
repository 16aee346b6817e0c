#pragma once

#include "tools/veltrix/host/Family.h"

namespace Veltrix::Tool {

/// Rows read, used and left out of each part.
void addParts(ReportBuilder& report, const Prepared& data);

/// Prior and number of records in each part of every class; nothing without classes.
void addClasses(ReportBuilder& report, const Prepared& data, const ClassRoles& roles);

/// A confusion matrix for each part in use, or the error measures of all of them, and then the
/// scores of the records of each part.
void addEvaluation(ReportBuilder& report, const Prepared& data, const RecordFamily& family);

}  // namespace Veltrix::Tool

#pragma once

#include <vector>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/report/ReportBuilder.h"

/// @file
/// What least squares leave of the records.

namespace Veltrix::Tool {

void addAnova(Table& table, const Engine::LinearModel::OLS::Model& model);

/// The limits with their level in the headings.
std::vector<Column> intervalColumns(Engine::LinearModel::OLS::PredictionIntervals limits,
                                    double confidence);

/// Residuals, influence and intervals of the training records, and their charts.
void addResiduals(ReportBuilder& report, const Engine::LinearModel::OLS::Model& model,
                  const Prepared& data);

}  // namespace Veltrix::Tool

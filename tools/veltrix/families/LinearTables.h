#pragma once

#include <string>
#include <vector>

#include "Veltrix/Engine/LinearModel/Model.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/report/Report.h"

/// @file
/// Tables that linear and logistic regression have in common.

namespace Veltrix::Tool {

/// One name per design column.
std::vector<std::string> coefficientNames(const Engine::LinearModel::Model& model,
                                          const Prepared& data);

/// The column "Remark" and the notes of a table of coefficients.
void addRemarks(Table& table, const Engine::LinearModel::Model& model, const Prepared& data);

/// Diagnostics of the estimable columns: one row per component, from the smallest eigenvalue to the
/// largest.
void addCollinearity(Table& table, const Engine::LinearModel::Model& model, const Prepared& data);

}  // namespace Veltrix::Tool

#pragma once

#include <string>
#include <vector>

#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/report/Report.h"

/// @file
/// Tables of linear and logistic models. `names` are those of the design columns, X is that of the
/// training records.

namespace Veltrix::Tool {

/// The names of the columns of X, behind the intercept when there is one.
std::vector<std::string> coefficientNames(const Engine::LinearModel::Model& model,
                                          std::vector<std::string> names);

/// Coefficients with their statistics; columns that are not estimable are marked.
Table& addCoefficients(Table& table, const Engine::LinearModel::OLS::Model& model,
                       const std::vector<std::string>& names, double confidence);
Table& addCoefficients(Table& table, const Engine::LinearModel::Logistic::Model& model,
                       const std::vector<std::string>& names, const Matrix& x, double confidence);

/// Diagnostics of the estimable columns: one row per component, from the smallest eigenvalue to the
/// largest.
void addCollinearity(Table& table, const Engine::LinearModel::Model& model,
                     const std::vector<std::string>& names, const Matrix& x);

}  // namespace Veltrix::Tool

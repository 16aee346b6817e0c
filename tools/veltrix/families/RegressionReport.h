#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/host/PredictorCoding.h"
#include "tools/veltrix/io/TextColumns.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// What a linear regression was fitted to.
struct RegressionTask {
    std::string dataFile;
    std::string target;
    PredictorCoding coding;
    std::string weights;  ///< empty without weights
    bool intercept = true;
    double confidence = 0.95;
    std::int64_t rowsRead = 0;
    std::vector<std::int64_t> rowNumbers;  ///< of the rows used, counted from 1
    TextColumns textPredictors;
};

/// All tables and charts of a fitted linear regression: summary, analysis of variance,
/// coefficients, collinearity, residuals, influence and intervals of the training records. X and y
/// are what the model was fitted to.
Report regressionReport(const RegressionTask& task, const Engine::LinearModel::OLS::Model& model,
                        const Matrix& x, const Vector& y);

/// Columns of limits around predictions, with the confidence level in the headings.
std::vector<Column> intervalColumns(Engine::LinearModel::OLS::PredictionIntervals intervals,
                                    double confidence);

/// "95%"
std::string percentText(double level);

}  // namespace Veltrix::Tool

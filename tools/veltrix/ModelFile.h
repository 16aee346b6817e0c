#pragma once

#include <string>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "tools/veltrix/PredictorCoding.h"

namespace Veltrix::Tool {

/// A fitted linear regression with what scoring needs beside it.
struct StoredRegression {
    std::string target;
    PredictorCoding coding;  ///< its columns are the model's
    Engine::LinearModel::OLS::Model model;
};

/// JSON text: type, version, family, target, predictors, their levels, intercept and the model.
std::string writeModel(const StoredRegression& stored);

/// Reads a file written from `writeModel`. Throws `UserError` that names the offending key when it
/// is damaged, of another version, or something else.
StoredRegression readModel(const std::string& path);

}  // namespace Veltrix::Tool

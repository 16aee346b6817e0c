#pragma once

#include <string>
#include <vector>

#include "Veltrix/Engine/NaiveBayes.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// A row for each category of each predictor, numbers in their order before texts, and what the
/// model has for every class.
Table& addCategories(Table& table, const std::vector<std::string>& predictors,
                     const StringVector& classes,
                     const Classification::NaiveBayes::Engine::Model& model, NumberStyle style);

/// Whether the model has all that scoring a record needs: probabilities of every category in all of
/// at least two classes with priors.
bool scoresEveryRecord(const Classification::NaiveBayes::Engine::Model& model);

}  // namespace Veltrix::Tool

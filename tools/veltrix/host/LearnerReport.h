#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Engine/Roles.h"
#include "tools/veltrix/host/LearnerData.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// What a model says of records: their classes with posterior probabilities, or numbers.
struct Scores {
    DataFrame posteriors;    ///< a column for each class of the model; none for numbers
    StringVector predicted;  ///< the class of each record, "" without; empty for numbers
    Vector numbers;          ///< the prediction of each record, NaN without; empty for classes
};

/// The class that posterior probabilities make under the model's priors, success class and cutoff.
Scores classScores(DataFrame posteriors, const Engine::Classification::Modelable& model);

/// Predicted class and probabilities, or predictions.
std::vector<Column> scoreColumns(const Scores& scores);

/// File, target, rows, parts and predictors, for the head of a summary.
std::vector<Entry> learnerEntries(const LearnerOptions& options, const LearnerData& data,
                                  std::size_t numPredictors);
/// Success class and cutoff, where there are two classes.
std::vector<Entry> successEntries(const Engine::Classification::Modelable& model);

/// Rows read, used and left out of each part.
Table partTable(const LearnerData& data);
/// Prior and number of records in each part of every class.
Table classTable(const LearnerData& data, const Engine::Classification::Modelable& model);

/// Appends a confusion matrix for each part in use, or the error measures of all of them, and
/// then the scores of the records of each part. `score` gets positions among the rows selected; a
/// note goes below what is said of the training part.
void addScores(Report& report, const LearnerData& data,
               const std::function<Scores(const IntVector& rows)>& score,
               const std::string& trainingNote = {});

}  // namespace Veltrix::Tool

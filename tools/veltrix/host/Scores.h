#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "tools/veltrix/host/ClassRoles.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// What a model says of records: their classes with posterior probabilities, or numbers, and what
/// else it knows.
struct Scores {
    DataFrame posteriors;         ///< a column for each class of the model; none without classes
    IntVector predicted;          ///< the class as its column, -1 without a prediction
    Vector numbers;               ///< the predictions, NaN without; empty unless for numbers
    std::vector<Column> further;  ///< limits, distances

    bool hasClasses() const { return posteriors.getNumCols() > 0; }
    /// The columns of a table: prediction, probabilities, what else there is.
    std::vector<Column> columns() const;
};

/// The class that posterior probabilities make under the roles.
Scores classScores(DataFrame posteriors, const ClassRoles& roles);
/// The same with the predictions as texts.
Scores classScores(DataFrame posteriors, const StringVector& predicted);
Scores numberScores(Vector numbers, std::vector<Column> further = {});

}  // namespace Veltrix::Tool

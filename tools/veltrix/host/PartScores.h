#pragma once

#include <vector>

#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/host/Scores.h"

namespace Veltrix::Tool {

/// What a model says of the records of each part that has any.
struct PartScores {
    Part part;
    Scores scores;
};
using AllScores = std::vector<PartScores>;

}  // namespace Veltrix::Tool

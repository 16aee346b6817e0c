#pragma once

#include "Veltrix/Engine/KNN.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// What a search for the number of neighbours found in a part of the data.
struct NeighbourSearch {
    Engine::KNN::KSearchInfo found;
    Part searched = Part::Training;
};

/// The log of the search and its chart.
void addSearch(ReportBuilder& report, const NeighbourSearch& search);

/// Throws `JsonError` unless what voting relies on stands in the part of a file that the model was
/// read from: training records of the model's classes, which all have a prior.
void checkVotes(const Support::JsonView& stored, const Engine::Classification::KNN::Model& model);

}  // namespace Veltrix::Tool

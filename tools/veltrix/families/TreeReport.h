#pragma once

#include "tools/veltrix/families/StoredTree.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// Appends what the pruning found, when there were validation records: the sequence of trees, and
/// error and complexity by the number of decision nodes with a chart.
void addPruning(Report& report, const Engine::DT::Model& model);

/// Appends drawing and rules of the selected tree, the nodes of each tree that has a name,
/// accumulators of the columns and the risk after each split.
void addTrees(Report& report, const StoredTree& stored);

}  // namespace Veltrix::Tool

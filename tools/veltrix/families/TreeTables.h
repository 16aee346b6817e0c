#pragma once

#include "Veltrix/Engine/DT.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// Appends what the pruning found: the sequence of trees, and error and complexity by the number of
/// decision nodes with a chart.
void addPruning(ReportBuilder& report, const Engine::DT::Model& model);
/// What the splits of the full tree took from the risk.
void addGrowth(ReportBuilder& report, const Engine::DT::Model& model);

/// Fills tables with the selected tree as an outline, the rules of its leaves, and its nodes with
/// parents before children. A tree of numbers has no `classes`.
void addDrawing(Table& table, const Engine::DT::Model& model);
void addRules(Table& table, const Engine::DT::Model& model);
void addNodes(Table& table, const Engine::DT::Model& model, const StringVector* classes);

}  // namespace Veltrix::Tool

#pragma once

#include <string>
#include <vector>

#include "Veltrix/Evaluator/RankedOutcomes.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// Records in the order of what a model says of them; classes have names.
struct NamedRanking {
    std::string name;
    RankedOutcomes ranked;
};

/// The most points of a curve in a chart.
inline constexpr int kCurvePoints = 200;

/// What the records amount to: headings of a table.
struct LiftHeadings {
    const char* lowest;  ///< the score that the last record of a decile has
    const char* total;
    const char* mean;
};

/// Appends "Lift: PART" with the deciles of each ranking, and its chart; nothing without records.
void addLift(ReportBuilder& report, const std::string& part,
             const std::vector<NamedRanking>& rankings, const LiftHeadings& headings);

/// Appends the charts of cumulative gains and of ROC curves with their tables.
void addGains(ReportBuilder& report, const std::string& part,
              const std::vector<NamedRanking>& rankings);
void addRocCurves(ReportBuilder& report, const std::string& part,
                  const std::vector<NamedRanking>& rankings);

}  // namespace Veltrix::Tool

#pragma once

#include <string>
#include <vector>

#include "Veltrix/Engine/Roles.h"
#include "tools/veltrix/host/ColumnRoles.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace CLI {
class App;
}

namespace Veltrix::Tool {

/// Options that the commands for classes and numbers share.
struct LearnerOptions {
    static constexpr const char* kTarget = "--target";
    static constexpr const char* kPredictors = "--predictors";
    static constexpr const char* kPartitionColumn = "--partition-column";

    FileOption data{"--data", {}};
    FileOption save{"--save", {}};
    std::string target;
    std::vector<std::string> predictors;
    std::string partitionColumn;  ///< empty without
    bool regression = false;
    std::vector<std::string> priors;
    std::string successClass;
    double cutoff = 0.5;
    ReportOutput output;

    void declare(CLI::App& app);

    /// The file with classes and parts as they are written.
    DataFile readData() const;
    /// The columns that are no predictors unless the command knows further ones.
    std::vector<RoleColumn> roles() const;
    /// Hands priors, success class and cutoff to a model whose classes these are. Throws
    /// `UserError` for a class that is none, a prior that is missing, given twice or not above 0,
    /// priors that do not sum to 1, and a success class when there are not two classes.
    void applyTo(Engine::Classification::Modelable& model, const StringVector& classes) const;
};

}  // namespace Veltrix::Tool

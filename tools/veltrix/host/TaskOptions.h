#pragma once

#include <string>
#include <vector>

#include "tools/veltrix/host/ClassRoles.h"
#include "tools/veltrix/host/ColumnRoles.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/PredictorCoding.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

/// What a family explains.
enum class TargetKind {
    None,     ///< nothing: it looks at the columns themselves
    Series,   ///< the same for one column, whose rows are in the order of time
    Numbers,  ///< a column of numbers
    Classes,  ///< a column of classes
    Either    ///< a column of classes, or of numbers with --regression
};

/// What a family takes from a file.
struct Needs {
    TargetKind target = TargetKind::None;
    Coding coding = Coding::Numbers;
    bool weights = false;
    /// Its results come with limits at a confidence level.
    bool confidence = false;
    /// Its columns of numbers are categories like those of text; none need be named.
    bool numbersAreCategories = false;
    /// Its fitted models can be stored, and score.
    bool stored = true;
    bool scores = true;
    /// It has tables of its own for the training records and how well they are met.
    bool describesTraining = false;
    /// For either kind of target: what an option of the family's own says in place of --regression.
    const bool* numbers = nullptr;
    /// Its scores are predictions of the target, which are evaluated in parts.
    bool predicts = true;
};

/// What a family can be fitted to.
enum class Input {
    Records,  ///< the records of a table
    Own,      ///< something that it reads itself
    Either    ///< one of the two, as the options say
};

/// The options that the families share, as far as they need them.
struct TaskOptions {
    static constexpr const char* kTarget = "--target";
    static constexpr const char* kPartitionColumn = "--partition-column";
    static constexpr const char* kWeights = "--weights";
    static constexpr const char* kTime = "--time";
    static constexpr const char* kCategorical = "--categorical";

    TaskOptions(const Needs& family, Input from)
        : needs(family), input(from), regression(family.target == TargetKind::Numbers) {}

    void declare(OptionGroup& options);
    /// Those that come after the family's own.
    void declareOutput(OptionGroup& options);

    bool isSeries() const { return needs.target == TargetKind::Series; }
    bool hasTarget() const { return needs.target != TargetKind::None && !isSeries(); }
    bool hasClasses() const { return hasTarget() && !predictsNumbers(); }
    bool predictsNumbers() const { return needs.numbers == nullptr ? regression : *needs.numbers; }
    /// The family leaves it to --regression.
    bool hasRegressionOption() const {
        return needs.target == TargetKind::Either && needs.numbers == nullptr;
    }
    /// The option that names the predictors.
    const char* predictorOption() const {
        return hasTarget() ? "--predictors" : isSeries() ? "--column" : "--columns";
    }
    /// What the report is about.
    const std::string& subject() const { return isSeries() ? series : target; }

    /// The file with classes and parts as they are written.
    DataFile readData() const;
    /// The columns that are no predictors.
    std::vector<RoleColumn> roles() const;

    Needs needs;
    Input input;
    FileOption data{"--data", {}};
    FileOption save{"--save", {}};
    std::string target;
    std::string series;
    std::string time;  ///< the column of the times of a series; empty without
    std::vector<std::string> predictors;
    std::vector<std::string> categorical;
    std::string partitionColumn;  ///< empty without
    std::string weights;          ///< empty without
    bool regression;              ///< the target holds numbers
    ClassOptions classes;
    int maxLevels = 100;
    double confidence = 0.95;
    ReportOutput output;

  private:
    void declareRecords(OptionGroup& options);
    void declareTarget(OptionGroup& options);
    void declareClasses(OptionGroup& options);
};

}  // namespace Veltrix::Tool

#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/host/Prepared.h"
#include "tools/veltrix/host/Scores.h"
#include "tools/veltrix/host/StoredFields.h"
#include "tools/veltrix/host/TaskOptions.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

struct FamilyNames {
    const char* command;       ///< "knn"
    const char* description;   ///< one sentence for the list of commands
    const char* family;        ///< in files and reports: "k-nearest neighbours"
    const char* product = "";  ///< what a family without a target predicts: "clusters"
};

/// What the program cannot know of a family of models. One object takes the options, fits, reports,
/// is stored and scores; `FamilyCommand` and `veltrix predict` do everything else.
class Family {
  public:
    Family() = default;
    Family(const Family&) = delete;
    Family& operator=(const Family&) = delete;
    virtual ~Family();

    virtual FamilyNames names() const = 0;
    virtual Needs needs() const = 0;
    /// Declares the family's own options.
    virtual void options(OptionGroup& own) = 0;
    /// Throws `UserError` for own options that contradict each other, before a file is read.
    virtual void checkOptions() const {}

    /// Fits to the training part. Throws `UserError` for options that the data cannot meet; an
    /// `Exception` of the engine's is shown as a mistake in the predictors.
    virtual void fit(const Prepared& data) = 0;
    /// Title of the report.
    virtual std::string title(const std::string& target) const = 0;
    /// Appends the family's entries to the summary.
    virtual void summarize(Table& summary, const Prepared& data) const = 0;
    /// Appends the family's tables and charts.
    virtual void describe(ReportBuilder& report, const Prepared& data) const = 0;
    /// What must be known to read the scores of the training part; may be empty.
    virtual std::string trainingNote() const { return {}; }

    /// The classes with the priors of the fitted model; none without classes.
    virtual ClassRoles roles() const { return {}; }
    /// Says of every record what the fitted model makes of it.
    virtual Scores score(const Records& records, double confidence) const = 0;

    /// The family's own fields of a model file; `StoredFamily` gets both from one description.
    virtual void fields(Support::StoredWriter& a) const = 0;
    virtual void fields(Support::StoredReader& a) = 0;
    /// Columns that the model was fitted to, 0 before; a file that says otherwise is refused.
    virtual int numColumns() const = 0;
};

/// Base of a family that reports only.
class ReportingFamily : public Family {
  public:
    Scores score(const Records& /*records*/, double /*confidence*/) const final { return {}; }
    void fields(Support::StoredWriter& /*a*/) const final {}
    void fields(Support::StoredReader& /*a*/) final {}
    int numColumns() const final { return 0; }
};

/// Base of a family that describes its fields once:
///
///     static void describeFields(auto& a, auto& self)
template <class Derived>
class StoredFamily : public Family {
  public:
    void fields(Support::StoredWriter& a) const final {
        Derived::describeFields(a, static_cast<const Derived&>(*this));
    }
    void fields(Support::StoredReader& a) final {
        Derived::describeFields(a, static_cast<Derived&>(*this));
    }
};

/// A new family by its command, or by its name in files; none for another name.
std::unique_ptr<Family> makeFamily(std::string_view name);
/// One of each, in the order of the help text.
std::vector<std::unique_ptr<Family>> makeFamilies();

}  // namespace Veltrix::Tool

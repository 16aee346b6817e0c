#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/veltrix/host/Documents.h"
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
    const char* usage = "";    ///< options that an example cannot do without: "--clusters 3"
};

/// What the program cannot know of a family of models: one object takes the options, fits, reports,
/// is stored and scores; `FamilyCommand` and `veltrix predict` do everything else. What it is
/// fitted to is said by the bases beside this one: records of a table (`RecordFamily`), something
/// that it reads itself (`OwnInput`), or either of them.
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
    /// Title of the report; no target where there is none.
    virtual std::string title(const std::string& target) const = 0;

    /// Files that the options ask for beside report and model. What they hold is known once the
    /// family is fitted.
    virtual std::vector<FileContent> files() const { return {}; }

    /// The family's own fields of a model file; `StoredFamily` gets both from one description.
    virtual void fields(Support::StoredWriter& a) const = 0;
    virtual void fields(Support::StoredReader& a) = 0;
};

/// Base of a family that is fitted to records of a table's columns and says of others what the
/// model makes of them.
class RecordFamily : public Family {
  public:
    /// Fits to the training part. Throws `UserError` for options that the data cannot meet; an
    /// `Exception` of the engine's is shown as a mistake in the predictors.
    virtual void fit(const Prepared& data) = 0;
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
    /// Appends what the model says beyond the records, as forecasts of a series are.
    virtual void addBeyond(ReportBuilder& /*report*/, const Records& /*records*/,
                           double /*confidence*/) const {}
    /// Takes out of the coding what the fitted model does without, before both are stored.
    virtual void narrow(PredictorCoding& /*coding*/) {}
    /// Columns that the model was fitted to, 0 before; a file that says otherwise is refused.
    virtual int numColumns() const = 0;
};

/// Base of a family that reads its input itself: distances, lists of items, documents. Beside
/// `RecordFamily` it is the other choice: the option of its file, which must then exclude --data,
/// decides.
class OwnInput {
  public:
    OwnInput() = default;
    OwnInput(const OwnInput&) = delete;
    OwnInput& operator=(const OwnInput&) = delete;
    virtual ~OwnInput();

    /// The file and the option that names it, one of the family's own.
    virtual const FileOption& file() const = 0;
    /// What the summary calls it.
    virtual const char* inputName() const { return "Data file"; }
    /// Reads the file. Throws `UserError` that says where it is not as expected.
    virtual void read() = 0;
    /// Fits to what was read. Throws `UserError` for options that the data cannot meet; an
    /// `Exception` of the engine's is shown as a mistake in the file.
    virtual void fit() = 0;
    /// Appends to the summary, which names the file, what was read and how it was fitted.
    virtual void summarize(Table& summary) const = 0;
    /// Appends the family's tables and charts.
    virtual void describe(ReportBuilder& report) const = 0;
};

/// Base of a family of documents, which says of others what the model makes of them.
class DocumentFamily : public OwnInput {
  public:
    /// The column of the documents that it was fitted to; empty for those of a folder.
    virtual const std::string& column() const = 0;
    /// Appends what the fitted model makes of the documents. Throws `UserError` without an option
    /// when it can make nothing of them.
    virtual void score(const Documents& documents, Table& summary, ReportBuilder& report) const = 0;
};

/// Base of a family of records that reports only.
class ReportingFamily : public RecordFamily {
  public:
    Scores score(const Records& /*records*/, double /*confidence*/) const final { return {}; }
    void fields(Support::StoredWriter& /*a*/) const final {}
    void fields(Support::StoredReader& /*a*/) final {}
    int numColumns() const final { return 0; }
};

/// Base of a family that describes its fields once:
///
///     static void describeFields(auto& a, auto& self)
///
/// With `Family` for the base it is one that reads its own input.
template <class Derived, class Base = RecordFamily>
class StoredFamily : public Base {
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

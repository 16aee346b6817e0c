#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Data/JSON.h"
#include "support/Json.h"
#include "tools/veltrix/host/DataSelection.h"
#include "tools/veltrix/host/PredictorCoding.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// A fitted model with what scoring a file needs beside it; one class for each family.
class StoredModel {
  public:
    virtual ~StoredModel();

    /// Names the family in the file and in reports.
    virtual std::string_view family() const = 0;
    const std::string& target() const { return target_; }
    void setTarget(std::string target) { target_ = std::move(target); }

    /// How a file that is to be scored has to be read.
    virtual CsvOptions csvOptions() const = 0;
    /// The predictors as they have to be selected.
    virtual std::vector<UsedColumn> usedForScoring(const std::string& option) const = 0;
    /// Columns of numbers or texts with a value for each row selected.
    virtual std::vector<Column> scoreColumns(const NumericSelection& selection,
                                             double confidence) const = 0;
    /// Whether the scores come with intervals at a confidence level.
    virtual bool hasIntervals() const { return false; }

    /// Writes the members that the family has beside type, version, family and target.
    virtual void writeParts(Support::JsonWriter& writer) const = 0;
    /// Takes back what `writeParts` wrote. Throws `JsonError` that names the offending key.
    virtual void readParts(const Support::JsonView& root) = 0;

  protected:
    StoredModel() = default;
    StoredModel(const StoredModel&) = default;
    StoredModel(StoredModel&&) noexcept = default;
    StoredModel& operator=(const StoredModel&) = default;
    StoredModel& operator=(StoredModel&&) noexcept = default;

  private:
    std::string target_;
};

/// Base of the families whose text predictors become 0/1 columns.
class StoredCodedModel : public StoredModel {
  public:
    const PredictorCoding& coding() const { return coding_; }
    void setCoding(PredictorCoding coding) { coding_ = std::move(coding); }

    CsvOptions csvOptions() const override;
    std::vector<UsedColumn> usedForScoring(const std::string& option) const override;

  protected:
    void writeCoding(Support::JsonWriter& writer) const;
    void readCoding(const Support::JsonView& root, LevelColumns levelColumns);
    /// Throws `JsonError` unless the coding gives that many columns.
    void expectColumns(const Support::JsonView& root, std::size_t expected) const;

  private:
    PredictorCoding coding_;
};

/// Throws `JsonError` for another text.
void expectText(const Support::JsonView& value, std::string_view expected);

/// Whether the text is the first of two. Throws `JsonError` when it is neither.
bool readChoice(const Support::JsonView& value, const char* first, const char* second);

/// What a model of a family for both tasks predicts.
inline constexpr const char* kClassification = "classification";
inline constexpr const char* kRegression = "regression";

/// Reads an object that is stored by itself; what it finds wrong names the key of the part.
void readPart(JSON::StringImportable& object, const Support::JsonView& part);

}  // namespace Veltrix::Tool

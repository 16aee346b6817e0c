#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "tools/veltrix/host/ClassRoles.h"
#include "tools/veltrix/host/PredictorCoding.h"
#include "tools/veltrix/host/SeriesTimes.h"
#include "tools/veltrix/host/TaskOptions.h"
#include "tools/veltrix/host/TextColumns.h"

namespace Veltrix::Tool {

/// The parts that rows are divided into.
enum class Part : std::size_t { Training, Validation, Test };
inline constexpr std::array kParts{Part::Training, Part::Validation, Part::Test};
std::string_view partName(Part part);
/// The part that a cell names: train, training, valid, validation, test or testing in any case.
std::optional<Part> partOf(const WString& text);

/// The records of a part, which all have values in the columns used.
struct PartData {
    Records records;
    std::vector<std::int64_t> rowNumbers;  ///< in the file, counted from 1
    Vector numbers;                        ///< the target; empty for classes
    IntVector labels;                      ///< the target as positions in `Prepared::labels`
    Vector weights;                        ///< empty without
    std::int64_t rowsRead = 0;

    std::uint64_t count() const { return rowNumbers.size(); }
};

/// A file as a family gets it.
struct Prepared {
    PredictorCoding coding;
    std::string option;                ///< that the predictors come from, for messages
    TextColumns text;                  ///< the predictors that are text
    std::vector<std::string> leftOut;  ///< the text columns that are no predictors for that
    std::int64_t rowsRead = 0;
    std::int64_t rowsChosen = 0;
    std::int64_t rowsUsed = 0;
    CsvDialect dialect;
    StringVector labels;  ///< all classes that records have, ascending; empty for numbers
    ClassRoles roles;     ///< the classes that training records have
    double confidence = 0.95;
    std::string weights;  ///< their column, or "none"
    std::array<PartData, kParts.size()> parts;
    SeriesTimes times;

    const PartData& part(Part part) const { return parts[static_cast<std::size_t>(part)]; }
    const PartData& training() const { return part(Part::Training); }
    bool has(Part which) const { return part(which).count() > 0; }
    /// The records of a part whose classes the training part has too; all of them for numbers.
    PartData withTrainedClasses(Part which) const;
    /// The values of a series.
    std::vector<double> series() const;
    /// The target of the records as texts.
    StringVector labelsOf(const PartData& part) const;
    /// The target of the records as the only column of a frame.
    DataFrame targetOf(const PartData& part) const;
};

/// Throws `UserError` when the first column selected holds no value or has a gap between its first
/// and its last one: lags count rows.
void checkSeries(const RowSelection& selection);

/// Reads roles, rows, parts and predictors from the file. Throws `UserError` when no training row
/// is left, for a part of another name, with its row, for fewer than two classes or more than can
/// be meant, for weights below 0 or that are all 0 in a class, and as `PredictorCoding::learn`.
Prepared prepare(const DataFile& file, const TaskOptions& options);

}  // namespace Veltrix::Tool

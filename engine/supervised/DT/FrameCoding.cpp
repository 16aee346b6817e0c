#include "engine/supervised/DT/FrameCoding.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DT {
namespace {

/// The column at a position of the frame under the name by which it is known.
DataFrame renamed(const DataFrame& frame, int position, int column) {
    DataFrame result = frame(Veltrix::Util::all, IntVector{position});
    result.setColName(0, categoryColumn(column));
    return result;
}

}  // namespace

WString categoryColumn(int column) { return Convert::toString(column); }

InputColumns learnColumns(const DataFrame& frame, const IntVector& categorical) {
    for (const int column : categorical) {
        Checks::index("Tree fit", "categorical column", column, frame.getNumCols());
    }
    Factorizer inputs;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        const bool text = frame(Veltrix::Util::all, j).getKind() == ColumnKind::text;
        if (text || categorical.exists(j)) {
            const DataFrame column = renamed(frame, j, j);
            inputs.fit(column(Veltrix::Util::all, 0));
        }
    }
    return {std::move(inputs), FrameColumns(frame.getColNames()), frame.getColNames()};
}

IntVector knownColumns(const DataFrame& frame, const Factorizer& inputs) {
    IntVector columns;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        if (inputs.isFactorized(categoryColumn(j))) columns.push_back(j);
    }
    return columns;
}

Vector encodeColumn(const DataFrame& frame, int position, int column, const Factorizer& inputs) {
    if (!inputs.isFactorized(categoryColumn(column))) {
        return frame(Veltrix::Util::all, position).toDoubleVector();
    }
    const DataFrame alone = renamed(frame, position, column);
    const IntVector codes = inputs.transform(alone(Veltrix::Util::all, 0));
    return {codes.begin(), codes.end()};
}

Matrix encodeFrame(const DataFrame& frame, const FrameColumns& columns, const Factorizer& inputs) {
    Matrix result(frame.getNumRows(), frame.getNumCols(), MatrixOrderType::columnMajor,
                  Storage::kUnfilled);
    double* target = result.data();
    int column = 0;
    for (const int position : columns.positions(frame)) {
        target = std::ranges::copy(encodeColumn(frame, position, column, inputs), target).out;
        ++column;
    }
    return result;
}

double encodeCell(const ConstDataFrameElement& cell, int column, const Factorizer& inputs) {
    const WString name = categoryColumn(column);
    if (!inputs.isFactorized(name)) return cell.toDouble();
    const auto& codes = inputs.getColMapper(name).codes;
    const auto found = codes.find(cell.toString());
    return found == codes.end() ? -1.0 : found->second;
}

void checkResponse(const char* operation, const Vector& response) {
    constexpr double kLargest = 1e150;
    const auto bad =
        std::ranges::find_if(response, [](double y) { return !(std::fabs(y) <= kLargest); });
    if (bad == response.end()) return;
    Checks::fail(ErrorCode::notFinite, operation,
                 "response of record " + std::to_string(bad - response.begin()) + " is " +
                     Support::numberText(*bad) + ", a number within 1e150 of 0 expected");
}

void checkShape(int rows, int columns, std::uint64_t responses) {
    Checks::atLeast("Tree fit", "records", rows, 1);
    Checks::atLeast("Tree fit", "columns", columns, 1);
    Checks::onePerRecord("Tree fit", "responses", responses, rows);
}

}  // namespace Veltrix::Engine::DT

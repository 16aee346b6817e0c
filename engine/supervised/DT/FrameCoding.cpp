#include "engine/supervised/DT/FrameCoding.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DT {
namespace {

/// The column under the name of its position.
DataFrame renamed(const DataFrame& frame, int column) {
    DataFrame result = frame(Veltrix::Util::all, IntVector{column});
    result.setColName(0, categoryColumn(column));
    return result;
}

}  // namespace

WString categoryColumn(int column) { return Convert::toString(column); }

Factorizer learnCategories(const DataFrame& frame, const IntVector& categorical) {
    for (const int column : categorical) {
        if (column >= 0 && column < frame.getNumCols()) continue;
        throw Exception("Tree fit: categorical column " + std::to_string(column) + ", 0 to " +
                        std::to_string(frame.getNumCols() - 1) + " expected");
    }
    Factorizer inputs;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        const bool text = frame(Veltrix::Util::all, j).getKind() == ColumnKind::text;
        if (text || categorical.exists(j)) {
            const DataFrame column = renamed(frame, j);
            inputs.fit(column(Veltrix::Util::all, 0));
        }
    }
    return inputs;
}

IntVector knownColumns(const DataFrame& frame, const Factorizer& inputs) {
    IntVector columns;
    for (int j = 0; j < frame.getNumCols(); ++j) {
        if (inputs.isFactorized(categoryColumn(j))) columns.push_back(j);
    }
    return columns;
}

Vector encodeColumn(const DataFrame& frame, int column, const Factorizer& inputs) {
    if (!inputs.isFactorized(categoryColumn(column))) {
        return frame(Veltrix::Util::all, column).toDoubleVector();
    }
    const DataFrame alone = renamed(frame, column);
    const IntVector codes = inputs.transform(alone(Veltrix::Util::all, 0));
    return {codes.begin(), codes.end()};
}

Matrix encodeFrame(const DataFrame& frame, const Factorizer& inputs) {
    Matrix result(frame.getNumRows(), frame.getNumCols(), MatrixOrderType::columnMajor,
                  Storage::kUnfilled);
    double* target = result.data();
    for (int j = 0; j < frame.getNumCols(); ++j) {
        target = std::ranges::copy(encodeColumn(frame, j, inputs), target).out;
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
    throw Exception(std::string(operation) + ": response within 1e150 of 0 expected in row " +
                    std::to_string(bad - response.begin()) + ", found " +
                    Support::numberText(*bad));
}

void checkShape(int rows, int columns, std::uint64_t responses) {
    if (rows < 1 || columns < 1) {
        throw Exception("Tree fit: " + std::to_string(rows) + " records of " +
                        std::to_string(columns) + " columns, at least 1 of each expected");
    }
    if (responses != static_cast<std::uint64_t>(rows)) {
        throw Exception("Tree fit: " + std::to_string(responses) + " responses for " +
                        std::to_string(rows) + " records");
    }
}

}  // namespace Veltrix::Engine::DT

#include "Veltrix/Data/Convert.h"

#include <string>

#include "data/containers/Checks.h"
#include "data/frame/CellText.h"

namespace Veltrix {

double Convert::toDouble(const ConstDataFrameElement& cell) { return cell.toDouble(); }

double Convert::toDouble(const WString& text) {
    const auto number = CellText::toDouble(text);
    if (!number) CellText::fail("", text, "a number");
    return *number;
}

int Convert::toInt(const ConstDataFrameElement& cell) { return cell.toInt(); }

WString Convert::toString(const ConstDataFrameElement& cell) { return cell.toString(); }

WString Convert::integerText(std::int64_t value) { return {std::to_wstring(value)}; }

WString Convert::integerText(std::uint64_t value) { return {std::to_wstring(value)}; }

WString Convert::toString(double value) { return CellText::toString(value); }

Vector Convert::toDoubleVector(const DataFrame& frame) {
    const auto rows = static_cast<std::uint64_t>(frame.getNumRows());
    Vector result(rows * static_cast<std::uint64_t>(frame.getNumCols()), Storage::kUnfilled);
    double* target = result.data();
    for (int j = 0; j < frame.getNumCols(); ++j, target += rows) {
        frame(Selection::all, j).copyDoubles(target);
    }
    return result;
}

Vector Convert::toDoubleVector(const ConstDataFrameColumn& column) {
    return column.toDoubleVector();
}

Vector Convert::toDoubleVector(const ConstDataFrameRow& row) { return row.toDoubleVector(); }

Vector Convert::toDoubleVector(const ConstMatrixRow& row) {
    return Vector(row.elements().begin(), row.elements().end());
}

Vector Convert::toDoubleVector(const ConstMatrixColumn& column) {
    return Vector(column.elements().begin(), column.elements().end());
}

StringVector Convert::toStringVector(const DataFrame& frame) {
    StringVector result;
    result.reserve(static_cast<std::uint64_t>(frame.getNumRows()) *
                   static_cast<std::uint64_t>(frame.getNumCols()));
    for (int j = 0; j < frame.getNumCols(); ++j) {
        for (const WString& text : frame(Selection::all, j).toStringVector()) {
            result.push_back(text);
        }
    }
    return result;
}

StringVector Convert::toStringVector(const ConstDataFrameColumn& column) {
    return column.toStringVector();
}

Matrix Convert::toMatrix(const DataFrame& frame) {
    Matrix result(frame.getNumRows(), frame.getNumCols(), toDoubleVector(frame),
                  MatrixOrderType::columnMajor);
    result.setName(frame.getName());
    return result;
}

DataFrame Convert::toDataFrame(const Matrix& values, const StringVector& colNames) {
    if (!colNames.empty()) {
        Checks::counts("Frame from a matrix", values.getNumCols(), "columns", colNames.size(),
                       "names");
    }
    DataFrame result(values.getName());
    for (int j = 0; j < values.getNumCols(); ++j) {
        Vector column = toDoubleVector(values(Selection::all, j));
        column.setName(colNames.empty() ? toString(j + 1)
                                        : colNames[static_cast<std::uint64_t>(j)]);
        result.append(std::move(column));
    }
    return result;
}

}  // namespace Veltrix

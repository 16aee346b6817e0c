#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "tests/support/ReferenceData.h"

namespace Veltrix::Testing {

inline Vector toVector(const std::vector<double>& values) {
    return Vector(values.begin(), values.end());
}

inline StringVector toStrings(const std::vector<std::string>& texts) {
    StringVector result;
    for (const std::string& text : texts) result.push_back(WString::fromUtf8(text));
    return result;
}

/// The elements row after row, as reference data have them.
inline Vector rowsOf(const Matrix& a) {
    Vector values;
    for (int i = 0; i < a.getNumRows(); ++i) {
        for (int j = 0; j < a.getNumCols(); ++j) values.push_back(a(i, j));
    }
    return values;
}

inline Matrix toMatrix(const Table& table, MatrixOrderType order = MatrixOrderType::columnMajor) {
    Matrix result(static_cast<int>(table.rows), static_cast<int>(table.columns), order);
    for (std::size_t i = 0; i < table.rows; ++i) {
        for (std::size_t j = 0; j < table.columns; ++j) {
            result(static_cast<int>(i), static_cast<int>(j)) = table(i, j);
        }
    }
    return result;
}

/// Columns of a data file as a matrix; a name "x^k" stands for a power of column x.
inline Matrix columnsOf(const CsvData& data, const std::vector<std::string>& names,
                        MatrixOrderType order = MatrixOrderType::columnMajor) {
    Matrix result(static_cast<int>(data.rows()), static_cast<int>(names.size()), order);
    for (std::size_t j = 0; j < names.size(); ++j) {
        const std::size_t caret = names[j].find('^');
        const std::vector<double> values = data.numbers(names[j].substr(0, caret));
        const int power = caret == std::string::npos ? 1 : std::stoi(names[j].substr(caret + 1));
        for (std::size_t i = 0; i < values.size(); ++i) {
            double cell = values[i];
            for (int k = 1; k < power; ++k) cell *= values[i];
            result(static_cast<int>(i), static_cast<int>(j)) = cell;
        }
    }
    return result;
}

}  // namespace Veltrix::Testing

#pragma once

#include <string>
#include <vector>

namespace Veltrix::Tool {

class DataFile;

/// What the command line says on the rows of data files.
struct RowChoice {
    std::string rows;                     ///< "1-1000,2000-"; empty for all
    std::vector<std::string> conditions;  ///< "region=North", "age>=30"; all must hold
};

/// The choice for the whole program, made once before its work begins.
inline RowChoice& rowChoice() {
    static RowChoice choice;
    return choice;
}

/// 1 for each row to be used and 0 for the others; empty when all are. A row without a value in the
/// column of a condition does not meet it. Throws `UserError` for what is no choice, a column that
/// is not there, an order among texts, and when no row is left.
std::vector<char> chooseRows(const DataFile& data, const RowChoice& choice);

}  // namespace Veltrix::Tool

#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "tools/veltrix/io/CsvReader.h"

namespace Veltrix::Tool {

/// Reads every cell as the text that it is, for files whose rows are written again.
inline CsvOptions verbatim() {
    CsvOptions options;
    options.missing.clear();
    options.allText = true;
    return options;
}

/// A column of such a file as a frame of its own: of numbers when every cell is one or empty.
DataFrame typedColumn(const DataFrame& verbatim, int col);

/// Rows of frames side by side as CSV text with a header row. Text is unchanged, numbers have their
/// shortest form.
class FrameCsv {
  public:
    /// Adds the frame's columns at the right. All frames have the same number of rows.
    void add(const DataFrame& frame);
    /// The text with the rows in the order given.
    std::string render(const IntVector& rows) const;

  private:
    struct Column {
        std::string heading;
        std::vector<std::string> levels;  ///< cells as they are written; empty for numbers
        IntVector codes;                  ///< per row, into the levels
        Vector numbers;                   ///< per row, when there are no levels

        void append(std::string& text, std::uint64_t row) const;
    };

    std::vector<Column> columns_;
};

}  // namespace Veltrix::Tool

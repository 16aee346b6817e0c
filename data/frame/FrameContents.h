#pragma once

#include <memory>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/WString.h"
#include "data/containers/Checks.h"
#include "data/frame/ColumnStorage.h"
#include "data/frame/NameList.h"

/// @file
/// What a frame holds. Only the frame and its views look inside.

namespace Veltrix {

struct DataFrame::Contents {
    WString name;
    int rows = 0;
    std::vector<Storage::Column> columns;
    Storage::NameList colNames;
    Storage::NameList rowNames;  ///< empty: "1", "2", …

    /// To be read: a frame that has none yet is an empty one.
    static const Contents& of(const DataFrame& frame) noexcept {
        return frame.contents_ ? *frame.contents_ : none();
    }
    /// To be written to.
    static Contents& own(DataFrame& frame) {
        if (!frame.contents_) frame.contents_ = std::make_unique<Contents>();
        return *frame.contents_;
    }

    int numColumns() const { return static_cast<int>(columns.size()); }
    void checkRow(const char* operation, int row) const {
        Checks::index(operation, "row", row, rows);
    }
    void checkColumn(const char* operation, int col) const {
        Checks::index(operation, "column", col, numColumns());
    }
    const Storage::Column& column(int place) const {
        return columns[static_cast<std::size_t>(place)];
    }
    Storage::Column& column(int place) { return columns[static_cast<std::size_t>(place)]; }
    /// Adds a column as long as the others. Failing leaves all as it was.
    void append(Storage::Column added, const WString& colName);

  private:
    static const Contents& none() noexcept;
};

}  // namespace Veltrix

#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <vector>

#include "Veltrix/Data/DataFrameViews.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Selection.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// A table of named columns of numbers (double), whole numbers (32-bit) or text, with row names
/// and a name of its own. Text columns are kept as codes into a list of distinct levels, so that
/// grouping and coding cost one pass. Columns and rows are addressed by index or by name, both in
/// constant time; of several columns with one name the first is found. Row names are "1", "2", …
/// until set, and take no memory until then.
///
/// An index or name that does not exist, and a column whose length differs from the frame's, throw
/// `Exception` that names the operation and what was found; the frame is then as it was.
class VELTRIX_DATA_API DataFrame {
  public:
    DataFrame() noexcept;
    explicit DataFrame(const WString& name);
    DataFrame(const DataFrame& other);
    /// The source becomes an empty frame.
    DataFrame(DataFrame&& other) noexcept;
    DataFrame& operator=(const DataFrame& other);
    DataFrame& operator=(DataFrame&& other) noexcept;
    virtual ~DataFrame();

    [[nodiscard]] int getNumRows() const noexcept;
    [[nodiscard]] int getNumCols() const noexcept;
    [[nodiscard]] bool empty() const noexcept;

    /// Live views; a temporary frame gives none, as it would end before they are used.
    DataFrameElement operator()(int row, int col) &;
    ConstDataFrameElement operator()(int row, int col) const&;
    ConstDataFrameElement operator()(int row, int col) const&& = delete;
    DataFrameElement operator()(int row, const WString& colName) &;
    ConstDataFrameElement operator()(int row, const WString& colName) const&;
    ConstDataFrameElement operator()(int row, const WString& colName) const&& = delete;
    DataFrameElement operator()(const WString& rowName, const WString& colName) &;
    ConstDataFrameElement operator()(const WString& rowName, const WString& colName) const&;
    ConstDataFrameElement operator()(const WString& rowName,
                                     const WString& colName) const&& = delete;
    DataFrameColumn operator()(Selection::All, int col) &;
    ConstDataFrameColumn operator()(Selection::All, int col) const&;
    ConstDataFrameColumn operator()(Selection::All, int col) const&& = delete;
    DataFrameColumn operator()(Selection::All, const WString& colName) &;
    ConstDataFrameColumn operator()(Selection::All, const WString& colName) const&;
    ConstDataFrameColumn operator()(Selection::All, const WString& colName) const&& = delete;
    DataFrameRow operator()(int row, Selection::All) &;
    ConstDataFrameRow operator()(int row, Selection::All) const&;
    ConstDataFrameRow operator()(int row, Selection::All) const&& = delete;
    /// Selections: a new frame with the chosen rows or columns in the order given, names included.
    [[nodiscard]] DataFrame operator()(const IntVector& rows, Selection::All) const;
    [[nodiscard]] DataFrame operator()(Selection::All, const IntVector& cols) const;
    [[nodiscard]] DataFrame operator()(Selection::All, const StringVector& colNames) const;

    /// Adds the columns of `other`; an empty frame takes its row names too.
    void append(const DataFrame& other);
    /// Adds a copy of the column, its name included.
    void append(const ConstDataFrameColumn& column);
    /// Adds a numeric column named as the vector. An rvalue gives up its storage.
    void append(const Vector& values);
    void append(Vector&& values);
    /// Adds a column of whole numbers, which print as such, named as the vector.
    void append(const IntVector& values);
    void append(IntVector&& values);
    /// Adds a text column.
    void append(const StringVector& values, const WString& colName = {});
    /// Adds a text column from codes into `levels`. Throws when a code is outside
    /// [0, levels.size()) or a level occurs twice.
    void append(const WString& colName, IntVector codes, StringVector levels);

    [[nodiscard]] const StringVector& getColNames() const noexcept;
    /// By value: the names exist only when asked for, unless they were set.
    [[nodiscard]] StringVector getRowNames() const;
    [[nodiscard]] const WString& getColName(int col) const;
    [[nodiscard]] WString getRowName(int row) const;
    [[nodiscard]] int getColIndex(const WString& name) const;
    [[nodiscard]] IntVector getColIndexes(const StringVector& names) const;
    [[nodiscard]] int getRowIndex(const WString& name) const;
    /// Whether a column of that name exists.
    [[nodiscard]] bool hasColumn(const WString& name) const;
    void setColName(int col, const WString& name);
    /// As many names as columns.
    void setColNames(const StringVector& names);
    void setRowName(int row, const WString& name);
    /// As many names as rows; an empty list goes back to "1", "2", ….
    void setRowNames(const StringVector& names);
    virtual void setName(const WString& name);
    [[nodiscard]] const WString& getName() const noexcept;

  private:
    friend class ConstDataFrameElement;
    friend class ConstDataFrameColumn;
    friend class ConstDataFrameRow;
    friend class DataFrameElement;

    struct Contents;

    std::unique_ptr<Contents> contents_;  // none: an empty frame without a name
};

/// A sequence of frames.
class VELTRIX_DATA_API DataFrameVector {
  public:
    DataFrameVector() = default;
    DataFrameVector(const DataFrameVector&) = default;
    DataFrameVector(DataFrameVector&&) noexcept = default;
    DataFrameVector& operator=(const DataFrameVector& other) {
        return *this = DataFrameVector(other);
    }
    DataFrameVector& operator=(DataFrameVector&&) noexcept = default;
    ~DataFrameVector() = default;
    explicit DataFrameVector(std::uint64_t count) : frames_(count) {}
    DataFrameVector(std::uint64_t count, const DataFrame& prototype) : frames_(count, prototype) {}

    [[nodiscard]] std::uint64_t size() const noexcept { return frames_.size(); }
    [[nodiscard]] bool empty() const noexcept { return frames_.empty(); }
    void push_back(DataFrame frame) { frames_.push_back(std::move(frame)); }
    /// An index of any integral type; throws `Exception` when there is no such frame.
    template <std::integral Index>
    DataFrame& operator[](Index index) {
        return frames_[place(static_cast<std::uint64_t>(index))];
    }
    template <std::integral Index>
    const DataFrame& operator[](Index index) const {
        return frames_[place(static_cast<std::uint64_t>(index))];
    }

  private:
    /// The index itself when it is below `size()`.
    std::uint64_t place(std::uint64_t index) const;

    std::vector<DataFrame> frames_;
};

}  // namespace Veltrix

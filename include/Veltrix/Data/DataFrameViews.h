#pragma once

#include <compare>
#include <concepts>
#include <type_traits>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

class DataFrame;

/// What a column of a frame holds.
enum class ColumnKind : int { numeric = 0, integer = 1, text = 2 };

/// Read-only live view of one cell of a frame. Views stay valid as long as the frame lives and its
/// column is not removed; they refer to the frame, so moving the frame away invalidates them.
class VELTRIX_DATA_API ConstDataFrameElement {
  public:
    ConstDataFrameElement(const DataFrame& frame, int row, int col) noexcept
        : frame_(&frame), row_(row), col_(col) {}
    ConstDataFrameElement(const ConstDataFrameElement&) = default;
    ConstDataFrameElement& operator=(const ConstDataFrameElement&) = delete;
    virtual ~ConstDataFrameElement();

    /// What the cell's column holds.
    [[nodiscard]] ColumnKind getKind() const;
    /// The cell as a number. Text is converted whole: leading and trailing blanks, decimal point,
    /// optional exponent; empty text is NaN; anything else throws the conversion library's bad-cast
    /// error (`std::bad_cast`), whose text names column (its index when it has no name), row
    /// (counted from 0, with its name when row names were set) and cell:
    /// `column "age", row 3: "abc" is not a number`.
    [[nodiscard]] double toDouble() const;
    /// The cell as a whole number; a value that is not one, or does not fit into 32 bits, throws
    /// the bad-cast error in the same way.
    [[nodiscard]] int toInt() const;
    /// The cell as text: for numbers the shortest decimal that reads back to the same double.
    [[nodiscard]] WString toString() const;
    operator double() const { return toDouble(); }   // NOLINT(google-explicit-constructor)
    operator int() const { return toInt(); }         // NOLINT(google-explicit-constructor)
    operator WString() const { return toString(); }  // NOLINT(google-explicit-constructor)

    /// A cell beside a number is taken as a number (`toDouble`, with its error for text that is
    /// none), beside a text as text (`toString`). Two cells compare as texts when both are text,
    /// otherwise as numbers. NaN equals nothing and is neither less nor greater.
    friend bool operator==(const ConstDataFrameElement& a, const ConstDataFrameElement& b) {
        return (a <=> b) == 0;
    }
    friend VELTRIX_DATA_API std::partial_ordering operator<=>(const ConstDataFrameElement& a,
                                                              const ConstDataFrameElement& b);
    template <class Number>
    requires std::is_arithmetic_v<Number>
    friend bool operator==(const ConstDataFrameElement& cell, Number number) {
        return cell.toDouble() == static_cast<double>(number);
    }
    template <class Number>
    requires std::is_arithmetic_v<Number>
    friend std::partial_ordering operator<=>(const ConstDataFrameElement& cell, Number number) {
        return cell.toDouble() <=> static_cast<double>(number);
    }
    friend bool operator==(const ConstDataFrameElement& cell, const WString& text) {
        return cell.toString() == text;
    }
    friend bool operator==(const ConstDataFrameElement& cell, const wchar_t* text) {
        return cell.toString() == text;
    }

  protected:
    const DataFrame* frame_;
    int row_;
    int col_;

  private:
    friend class ConstDataFrameColumn;

    [[noreturn]] void failConversion(const char* expected) const;
};

/// Arithmetic of cells with numbers and with one another, as numbers (`toDouble`).
template <class A, class B>
concept CellOperands = (std::derived_from<A, ConstDataFrameElement> &&
                        (std::derived_from<B, ConstDataFrameElement> || std::is_arithmetic_v<B>)) ||
                       (std::is_arithmetic_v<A> && std::derived_from<B, ConstDataFrameElement>);
template <class A, class B>
requires CellOperands<A, B>
double operator+(const A& a, const B& b) { return static_cast<double>(a) + static_cast<double>(b); }
template <class A, class B>
requires CellOperands<A, B>
double operator-(const A& a, const B& b) { return static_cast<double>(a) - static_cast<double>(b); }
template <class A, class B>
requires CellOperands<A, B>
double operator*(const A& a, const B& b) { return static_cast<double>(a) * static_cast<double>(b); }
template <class A, class B>
requires CellOperands<A, B>
double operator/(const A& a, const B& b) { return static_cast<double>(a) / static_cast<double>(b); }
inline double operator-(const ConstDataFrameElement& cell) { return -cell.toDouble(); }

/// Live view of one cell; assigning writes into the frame. A number written into a text column is
/// written as its text; a double that is not whole turns a column of whole numbers into a numeric
/// one; text written into a numeric column turns that column into a text column. Views of a const
/// frame convert to this type and to `DataFrameColumn` and `DataFrameRow`, for functions that name
/// them; writing through them throws `Exception`.
class VELTRIX_DATA_API DataFrameElement : public ConstDataFrameElement {
  public:
    DataFrameElement(DataFrame& frame, int row, int col) noexcept
        : ConstDataFrameElement(frame, row, col), target_(&frame) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    DataFrameElement(const ConstDataFrameElement& readOnly) noexcept
        : ConstDataFrameElement(readOnly), target_(nullptr) {}
    DataFrameElement(const DataFrameElement&) = default;
    ~DataFrameElement() override;

    /// Copies the value, as every assignment to a view.
    DataFrameElement& operator=(const DataFrameElement& other);
    DataFrameElement& operator=(const ConstDataFrameElement& other);
    DataFrameElement& operator=(double value);
    DataFrameElement& operator=(int value);
    DataFrameElement& operator=(const WString& value);
    DataFrameElement& operator=(const wchar_t* value);
    /// The cell as a number, changed; see `toDouble` for text.
    DataFrameElement& operator+=(double value) { return *this = toDouble() + value; }
    DataFrameElement& operator-=(double value) { return *this = toDouble() - value; }
    DataFrameElement& operator*=(double value) { return *this = toDouble() * value; }
    DataFrameElement& operator/=(double value) { return *this = toDouble() / value; }

  private:
    /// What may be written to; throws `Exception` when the frame is const.
    DataFrame& target() const;

    DataFrame* target_;  // null for a view of a const frame
};

/// Read-only live view of one column of a frame.
class VELTRIX_DATA_API ConstDataFrameColumn {
  public:
    ConstDataFrameColumn(const DataFrame& frame, int col) noexcept : frame_(&frame), col_(col) {}
    ConstDataFrameColumn(const ConstDataFrameColumn&) = default;
    ConstDataFrameColumn& operator=(const ConstDataFrameColumn&) = delete;
    virtual ~ConstDataFrameColumn();

    [[nodiscard]] int getNumRows() const noexcept;
    [[nodiscard]] const WString& getColName() const;
    [[nodiscard]] ColumnKind getKind() const;
    /// Throws `Exception` when there is no such row.
    ConstDataFrameElement operator()(int row) const;
    /// All cells as numbers, named as the column. A cell that is not a number throws the bad-cast
    /// error that names it; see `ConstDataFrameElement::toDouble`.
    [[nodiscard]] Vector toDoubleVector() const;
    /// All cells as text.
    [[nodiscard]] StringVector toStringVector() const;
    /// The distinct texts of the column, ascending, and with `codes` the position of every cell's
    /// text in that list: one pass for a text column.
    [[nodiscard]] StringVector getLevels() const;
    StringVector getLevels(IntVector& codes) const;
    /// The same in no particular order, perhaps with texts that no cell has any more: nothing is
    /// sorted, which counts where most cells differ.
    StringVector getTexts(IntVector& codes) const;

  protected:
    friend class Convert;
    friend class DataFrame;

    /// Writes the numbers of all cells to `target`, as `toDoubleVector` gives them.
    void copyDoubles(double* target) const;

    const DataFrame* frame_;
    int col_;
};

/// Live view of one column of a frame.
class VELTRIX_DATA_API DataFrameColumn : public ConstDataFrameColumn {
  public:
    DataFrameColumn(DataFrame& frame, int col) noexcept
        : ConstDataFrameColumn(frame, col), target_(&frame) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    DataFrameColumn(const ConstDataFrameColumn& readOnly) noexcept
        : ConstDataFrameColumn(readOnly), target_(nullptr) {}
    DataFrameColumn(const DataFrameColumn&) = default;
    DataFrameColumn& operator=(const DataFrameColumn&) = delete;
    ~DataFrameColumn() override;

    using ConstDataFrameColumn::operator();
    DataFrameElement operator()(int row);

  private:
    DataFrame* target_;  // null for a view of a const frame
};

/// Read-only live view of one row of a frame.
class VELTRIX_DATA_API ConstDataFrameRow {
  public:
    ConstDataFrameRow(const DataFrame& frame, int row) noexcept : frame_(&frame), row_(row) {}
    ConstDataFrameRow(const ConstDataFrameRow&) = default;
    ConstDataFrameRow& operator=(const ConstDataFrameRow&) = delete;
    virtual ~ConstDataFrameRow();

    [[nodiscard]] const DataFrame& getFrame() const noexcept { return *frame_; }
    [[nodiscard]] int getNumCols() const noexcept;
    [[nodiscard]] WString getRowName() const;
    ConstDataFrameElement operator()(int col) const;
    ConstDataFrameElement operator()(const WString& colName) const;
    /// All cells as numbers; see `ConstDataFrameElement::toDouble`.
    [[nodiscard]] Vector toDoubleVector() const;

  protected:
    const DataFrame* frame_;
    int row_;
};

/// Live view of one row of a frame.
class VELTRIX_DATA_API DataFrameRow : public ConstDataFrameRow {
  public:
    DataFrameRow(DataFrame& frame, int row) noexcept
        : ConstDataFrameRow(frame, row), target_(&frame) {}
    // NOLINTNEXTLINE(google-explicit-constructor)
    DataFrameRow(const ConstDataFrameRow& readOnly) noexcept
        : ConstDataFrameRow(readOnly), target_(nullptr) {}
    DataFrameRow(const DataFrameRow&) = default;
    DataFrameRow& operator=(const DataFrameRow&) = delete;
    ~DataFrameRow() override;

    using ConstDataFrameRow::operator();
    DataFrameElement operator()(int col);
    DataFrameElement operator()(const WString& colName);

  private:
    DataFrame* target_;  // null for a view of a const frame
};

}  // namespace Veltrix

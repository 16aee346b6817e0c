#pragma once

#include <concepts>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Export.h"

/// @file
/// Frames where the algorithms work on matrices.

namespace Veltrix::Engine {

/// The column names of the frame that a model was fitted on, by which frames to be scored are
/// matched: a frame whose names are those of training in another order is taken by name, a frame
/// with any other names by position.
class VELTRIX_ENGINE_API FrameColumns {
  public:
    FrameColumns() = default;
    explicit FrameColumns(StringVector names) : names_(std::move(names)) {}

    /// Empty after a fit on a matrix.
    const StringVector& getNames() const noexcept { return names_; }
    /// For each column of training its position in the frame; 0, 1, … when taken by position.
    IntVector positions(const DataFrame& frame) const;
    /// The frame as a column-major matrix of the same name, columns in the order of training.
    /// Throws the bad-cast error, with column and row, for text that is not a number.
    Matrix toMatrix(const DataFrame& frame) const;

  private:
    StringVector names_;
};

/// Gives a model the frame forms of its operations: they convert, match columns and forward to the
/// matrix forms, which `Self` has. A fit on a matrix must leave no names behind, as building a
/// model aside and moving it in does.
///
/// `Response` is `Vector` for a numeric response and `StringVector` for class labels. Further
/// columns (weights) become vectors of numbers; other arguments are passed on. All throw what the
/// matrix forms throw, and the bad-cast error, with column and row, for text that is not a number.
template <class Self, class Response>
class FrameForms {
  public:
    template <class... Rest>
    Self& fit(const DataFrame& x, const ConstDataFrameColumn& y, const Rest&... rest) {
        FrameColumns columns(x.getColNames());
        Self& self = static_cast<Self&>(*this);
        self.fit(Convert::toMatrix(x), response(y), plain(rest)...);
        columns_ = std::move(columns);
        return self;
    }
    template <class... Rest>
    auto predict(const DataFrame& x, const Rest&... rest) const {
        return static_cast<const Self&>(*this).predict(columns_.toMatrix(x), plain(rest)...);
    }

    const FrameColumns& getFrameColumns() const noexcept { return columns_; }

  protected:
    static Response response(const ConstDataFrameColumn& y) {
        if constexpr (std::same_as<Response, Vector>) {
            return Convert::toDoubleVector(y);
        } else {
            return Convert::toStringVector(y);
        }
    }

    FrameColumns columns_;

  private:
    template <class T>
    static decltype(auto) plain(const T& value) {
        if constexpr (std::derived_from<T, ConstDataFrameColumn>) {
            return Convert::toDoubleVector(value);
        } else {
            return (value);
        }
    }
};

}  // namespace Veltrix::Engine

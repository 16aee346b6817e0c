#pragma once

#include <cstdint>
#include <unordered_map>
#include <utility>
#include <variant>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"

/// @file
/// How a frame keeps one column.

namespace Veltrix::Storage {

/// Text cells as codes into the list of distinct levels (in order of first appearance).
class TextColumn {
  public:
    TextColumn() = default;
    /// Codes of the cells and distinct levels.
    TextColumn(IntVector cellCodes, StringVector distinctLevels)
        : codes(std::move(cellCodes)), levels_(std::move(distinctLevels)) {}

    const StringVector& levels() const noexcept { return levels_; }
    const WString& text(std::uint64_t row) const {
        return levels_[static_cast<std::uint64_t>(codes[row])];
    }
    /// The code of `text`, which becomes a new level when it is none yet.
    int encode(const WString& text);

    IntVector codes;

  private:
    StringVector levels_;
    /// Made by the first `encode`: columns that are only read do without.
    std::unordered_map<WString, int> codeOf_;
};

using Column = std::variant<Vector, IntVector, TextColumn>;

}  // namespace Veltrix::Storage

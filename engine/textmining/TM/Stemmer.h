#pragma once

#include <cstddef>
#include <string_view>

namespace Veltrix::Engine::TM {

/// Bounds of the lengths, in characters, of the words that have stems.
constexpr std::size_t kShortestStemmed = 3;
constexpr std::size_t kLongestStemmed = 24;

/// Writes the stem of a word, which is never longer, and returns its length. `target` may be where
/// the word is.
std::size_t writeStem(std::wstring_view word, wchar_t* target);

}  // namespace Veltrix::Engine::TM

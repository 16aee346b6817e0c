#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Veltrix::Tool {

/// Distinct texts numbered in the order in which they came. The bytes lie in large blocks, so that
/// a column in which every cell is another text costs no allocation each.
class TextPool {
  public:
    /// The number of `text`, which is added when it is new.
    int add(std::string_view text) {
        const auto found = numbers_.find(text);
        if (found != numbers_.end()) return found->second;
        const int number = static_cast<int>(texts_.size());
        texts_.push_back(keep(text));
        numbers_.emplace(texts_.back(), number);
        return number;
    }

    const std::vector<std::string_view>& texts() const { return texts_; }

  private:
    static constexpr std::size_t kBlockSize = 1U << 16U;

    std::string_view keep(std::string_view text) {
        if (free_ < text.size()) {
            free_ = std::max(kBlockSize, text.size());
            blocks_.push_back(std::make_unique<char[]>(free_));
            next_ = blocks_.back().get();
        }
        char* place = next_;
        std::copy(text.begin(), text.end(), place);
        next_ += text.size();
        free_ -= text.size();
        return {place, text.size()};
    }

    std::vector<std::unique_ptr<char[]>> blocks_;
    char* next_ = nullptr;
    std::size_t free_ = 0;
    std::vector<std::string_view> texts_;
    std::unordered_map<std::string_view, int> numbers_;
};

}  // namespace Veltrix::Tool

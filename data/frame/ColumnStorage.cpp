#include "data/frame/ColumnStorage.h"

namespace Veltrix::Storage {

int TextColumn::encode(const WString& text) {
    if (codeOf_.size() != levels_.size()) {
        for (std::uint64_t code = 0; code < levels_.size(); ++code) {
            codeOf_.emplace(levels_[code], static_cast<int>(code));
        }
    }
    const auto [place, added] = codeOf_.try_emplace(text, static_cast<int>(levels_.size()));
    if (!added) return place->second;
    try {
        levels_.push_back(text);
    } catch (...) {
        codeOf_.erase(place);
        throw;
    }
    return place->second;
}

}  // namespace Veltrix::Storage

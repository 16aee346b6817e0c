#include "Veltrix/Data/Selection.h"

#include <vector>

#include "data/containers/Checks.h"

namespace Veltrix {

IntVector Except::complement(int count) const {
    Checks::indexes("Except", "index", {indexes_.data(), indexes_.size()}, count);
    std::vector<bool> leftOut(static_cast<std::size_t>(count), false);
    for (const int index : indexes_) leftOut[static_cast<std::size_t>(index)] = true;
    IntVector kept;
    kept.reserve(leftOut.size());
    for (int i = 0; i < count; ++i) {
        if (!leftOut[static_cast<std::size_t>(i)]) kept.push_back(i);
    }
    return kept;
}

}  // namespace Veltrix

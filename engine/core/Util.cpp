#include "Veltrix/Engine/Util.h"

#include <algorithm>

namespace Veltrix::Engine::Util {

WString generateColName(const WString& a, const WString& b) { return a + L"_" + b; }

std::int64_t index_lr(std::int64_t i, std::int64_t j) {
    const auto [c, r] = std::minmax(i, j);
    return r * (r + 1) / 2 + c;
}

}  // namespace Veltrix::Engine::Util

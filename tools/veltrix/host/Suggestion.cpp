#include "tools/veltrix/host/Suggestion.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

/// Number of single-character changes that turn one text into the other (Levenshtein 1966),
/// whatever the case of ASCII letters.
std::size_t editDistance(std::string_view a, std::string_view b) {
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string suggestion(const std::string& name, const std::vector<std::string>& names,
                       const std::string& kind) {
    constexpr std::size_t kListed = 10;
    std::size_t best = std::max<std::size_t>(1, name.size() / 3) + 1;
    const std::string* nearest = nullptr;
    for (const std::string& candidate : names) {
        const std::size_t distance = editDistance(name, candidate);
        if (distance >= best) continue;
        best = distance;
        nearest = &candidate;
    }
    if (nearest != nullptr) return fmt::format("did you mean {}?", Tool::quoted(*nearest));
    std::string list;
    for (std::size_t k = 0; k < std::min(names.size(), kListed); ++k) {
        list += (k == 0 ? "" : ", ") + Tool::quoted(names[k]);
    }
    return kind + " " + list + (names.size() > kListed ? ", ..." : "");
}

}  // namespace Veltrix::Tool

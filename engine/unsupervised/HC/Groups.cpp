#include "engine/unsupervised/HC/Groups.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace Veltrix::Engine::HC {
namespace {

std::size_t place(std::int64_t index) { return static_cast<std::size_t>(index); }

/// A cluster to be: one that was, or two.
struct Part {
    std::int32_t first;
    std::int32_t second;  // −1 where there is none
    double distance;
    std::int64_t size;
    double rank;
};

std::vector<Part> partsOf(const Groups& groups, const std::vector<GroupMerge>& merges,
                          const Vector& ranks) {
    std::vector<bool> isMerged(place(groups.count()), false);
    std::vector<Part> parts;
    parts.reserve(isMerged.size() - merges.size());
    for (const auto& [first, second, distance] : merges) {
        isMerged[place(first)] = isMerged[place(second)] = true;
        parts.push_back({first, second, distance, groups.size(first) + groups.size(second),
                         std::min(ranks.data()[first], ranks.data()[second])});
    }
    for (std::int32_t g = 0; g < static_cast<std::int32_t>(groups.count()); ++g) {
        if (!isMerged[place(g)]) parts.push_back({g, -1, 0.0, groups.size(g), ranks.data()[g]});
    }
    std::ranges::sort(parts, [](const Part& a, const Part& b) {
        if (a.size != b.size) return a.size > b.size;
        return a.rank != b.rank ? a.rank < b.rank : a.first < b.first;
    });
    return parts;
}

void take(const Groups& from, std::int32_t group, double share, Groups& to) {
    for (std::int64_t k = from.start(group); k < from.start(group + 1); ++k) {
        to.records.push_back(from.records[place(k)]);
        to.shares.push_back(share * from.shares.data()[k]);
    }
}

}  // namespace

Groups::Groups(std::int32_t n)
    : records(place(n)),
      starts(place(n) + 1),
      labels(place(n)),
      shares(place(n), 1.0),
      spreads(place(n), 0.0) {
    std::iota(records.begin(), records.end(), 0);
    std::iota(starts.begin(), starts.end(), 0);
    std::iota(labels.begin(), labels.end(), 1);
}

Groups merged(const Groups& groups, const std::vector<GroupMerge>& merges, const Vector& ranks) {
    Groups result(0);
    for (const Part& part : partsOf(groups, merges, ranks)) {
        const bool isPair = part.second >= 0;
        take(groups, part.first, isPair ? 0.5 : 1.0, result);
        result.labels.push_back(groups.labels[place(part.first)]);
        double spread = groups.spreads.data()[part.first];
        if (isPair) {
            take(groups, part.second, 0.5, result);
            // Of the parts' d = 2 n_A n_B / n · (m − v_A − v_B), m the mean between them, follows
            // n² v = n_A² v_A + n_B² v_B + n_A n_B m.
            const auto a = static_cast<double>(groups.size(part.first));
            const auto b = static_cast<double>(groups.size(part.second));
            const double other = groups.spreads.data()[part.second];
            spread = (a * spread + b * other) / (a + b) + part.distance / (2.0 * (a + b));
        }
        result.spreads.push_back(spread);
        result.starts.push_back(static_cast<std::int32_t>(result.records.size()));
    }
    return result;
}

}  // namespace Veltrix::Engine::HC

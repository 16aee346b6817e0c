#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

struct Entry {
    double value;
    int index;
};
using Entries = std::vector<Entry>;

bool ascends(const char* operation, Ordering order) {
    Checks::enumerator(operation, "order", order, 0, 1);
    return order == Ordering::smallestFirst;
}

/// Runs operation(better), better(a, b) being the strict order of numbers asked for: best value
/// first, equal values by index. No NaN may be compared.
template <class Operation>
void withOrder(bool ascending, Operation operation) {
    if (ascending) {
        operation([](const Entry& a, const Entry& b) {
            return a.value < b.value || (a.value == b.value && a.index < b.index);
        });
    } else {
        operation([](const Entry& a, const Entry& b) {
            return a.value > b.value || (a.value == b.value && a.index < b.index);
        });
    }
}

/// The `count` best numbers among `values`, best first. Candidates that beat the count-th best so
/// far are gathered, and thinned out whenever they have become twice as many: O(n + k log k).
template <class Better>
Entries bestNumbers(const Vector& values, std::size_t count, Better better) {
    constexpr std::size_t kFewest = 128;
    const std::size_t capacity = 2 * std::max(count, kFewest);
    Entries candidates;
    candidates.reserve(std::min<std::size_t>(capacity, values.size()));
    Entry worst{};
    bool bounded = false;
    const auto thinOut = [&] {
        const auto last = candidates.begin() + static_cast<std::ptrdiff_t>(count) - 1;
        std::nth_element(candidates.begin(), last, candidates.end(), better);
        worst = *last;
        bounded = true;
        candidates.resize(count);
    };
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Entry entry{values[i], static_cast<int>(i)};
        const bool wanted = bounded ? better(entry, worst) : !std::isnan(entry.value);
        if (!wanted) continue;
        candidates.push_back(entry);
        if (candidates.size() >= capacity) thinOut();
    }
    if (candidates.size() > count) thinOut();
    std::sort(candidates.begin(), candidates.end(), better);
    return candidates;
}

/// Appends the numbers that come after the last of the best but are equal to it.
template <class Better>
void appendTies(const Vector& values, Entries& best, Better better) {
    const Entry last = best.back();
    const auto first = static_cast<std::ptrdiff_t>(best.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Entry entry{values[i], static_cast<int>(i)};
        if (Util::equal(entry.value, last.value) && better(last, entry)) best.push_back(entry);
    }
    std::sort(best.begin() + first, best.end(), better);
}

Entries topEntries(const Vector& values, int k, bool includeTies, bool skipNaN, Ordering ordering) {
    const char* operation = "Top elements";
    const bool ascending = ascends(operation, ordering);
    Checks::dimension(operation, "elements", values.size());
    Entries best;
    if (k <= 0) return best;
    const auto count = static_cast<std::size_t>(k);
    withOrder(ascending, [&](auto better) {
        best = bestNumbers(values, count, better);
        if (includeTies && best.size() == count) appendTies(values, best, better);
    });
    for (std::size_t i = 0; !skipNaN && best.size() < count && i < values.size(); ++i) {
        if (std::isnan(values[i])) best.push_back({values[i], static_cast<int>(i)});
    }
    return best;
}

/// Whole numbers in the order of the numbers they stand for; both zeros are one.
std::uint64_t ascendingKey(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value + 0.0);
    const std::uint64_t sign = std::uint64_t{1} << 63U;
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

/// Stable radix sort by eleven bits at a time, lowest first; a digit that is the same in all
/// entries costs nothing. O(n).
void sortByDigits(Entries& entries, bool ascending) {
    constexpr unsigned kBits = 11;
    constexpr std::size_t kDigits = 6;
    constexpr std::uint64_t kMask = (std::uint64_t{1} << kBits) - 1;
    const auto keyOf = [ascending](const Entry& entry) {
        const std::uint64_t key = ascendingKey(entry.value);
        return ascending ? key : ~key;
    };
    std::vector<std::array<std::uint32_t, kMask + 1>> counts(kDigits);
    for (const Entry& entry : entries) {
        std::uint64_t key = keyOf(entry);
        for (auto& count : counts) {
            ++count[key & kMask];
            key >>= kBits;
        }
    }
    Entries target(entries.size());
    for (std::size_t digit = 0; digit < kDigits; ++digit) {
        auto& places = counts[digit];
        const auto shift = static_cast<unsigned>(digit) * kBits;
        if (places[keyOf(entries.front()) >> shift & kMask] == entries.size()) continue;
        std::exclusive_scan(places.begin(), places.end(), places.begin(), std::uint32_t{0});
        for (const Entry& entry : entries) target[places[keyOf(entry) >> shift & kMask]++] = entry;
        entries.swap(target);
    }
}

Entries sorted(const char* operation, const Vector& values, Ordering order) {
    const bool ascending = ascends(operation, order);
    Checks::dimension(operation, "elements", values.size());
    Entries numbers;
    Entries missing;
    numbers.reserve(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        (std::isnan(values[i]) ? missing : numbers).push_back({values[i], static_cast<int>(i)});
    }
    // From here on counting digits is faster than comparing.
    constexpr std::size_t kMany = 1024;
    if (numbers.size() >= kMany) {
        sortByDigits(numbers, ascending);
    } else {
        withOrder(ascending,
                  [&](auto better) { std::sort(numbers.begin(), numbers.end(), better); });
    }
    numbers.insert(numbers.end(), missing.begin(), missing.end());
    return numbers;
}

IntVector indexesOf(const Entries& entries) {
    IntVector result;
    result.reserve(entries.size());
    for (const Entry& entry : entries) result.push_back(entry.index);
    return result;
}

}  // namespace

IntVector Util::argSort(const Vector& values, Ordering order) {
    return indexesOf(sorted("Sorting of indexes", values, order));
}

Vector Util::sort(const Vector& values, Ordering order) {
    const bool ascending = ascends("Sorting", order);
    Vector result(values);
    double* const numbersEnd = std::stable_partition(
        result.begin(), result.end(), [](double value) { return !std::isnan(value); });
    if (ascending) {
        std::sort(result.begin(), numbersEnd);
    } else {
        std::sort(result.begin(), numbersEnd, std::greater<>());
    }
    return result;
}

IntVector Util::kTopIndices(const Vector& values, int k, bool includeTies, bool skipNaN,
                            Ordering ordering) {
    return indexesOf(topEntries(values, k, includeTies, skipNaN, ordering));
}

Matrix Util::kTop(const Vector& values, int k, bool includeTies, bool skipNaN, Ordering ordering) {
    const Entries best = topEntries(values, k, includeTies, skipNaN, ordering);
    Matrix result(static_cast<int>(best.size()), 2);
    int row = 0;
    for (const Entry& entry : best) {
        result(row, 0) = entry.index;
        result(row, 1) = entry.value;
        ++row;
    }
    return result;
}

}  // namespace Veltrix

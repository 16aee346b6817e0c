#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"

namespace Veltrix {
namespace {

std::span<const int> spanOf(const IntVector& values) { return {values.data(), values.size()}; }

int countOf(const char* operation, std::uint64_t size) {
    return Checks::dimension(operation, "elements", size);
}

/// The elements of `values` at positions that were checked.
template <class Container>
Container gather(const Container& values, const IntVector& positions) {
    Container result;
    result.reserve(positions.size());
    for (const int position : positions) {
        result.push_back(values[static_cast<std::uint64_t>(position)]);
    }
    result.setName(values.getName());
    return result;
}

/// The elements of `a` for which contains(element), asked in their order, is false.
template <class Contains>
IntVector without(const IntVector& a, Contains contains) {
    IntVector result;
    std::copy_if(a.begin(), a.end(), std::back_inserter(result),
                 [&](int value) { return !contains(value); });
    return result;
}

}  // namespace

IntVector Util::range(int from, int to) { return range(from, to, 1); }

IntVector Util::range(int from, int to, int step) {
    if (step == 0) Checks::fail(ErrorCode::invalidArgument, "Range", "the step is 0");
    // 64-bit, as the last step may lead beyond the largest integer.
    const std::int64_t distance = std::int64_t{to} - from;
    const std::int64_t count = distance / step + (distance % step != 0 ? 1 : 0);
    IntVector result;
    if ((distance > 0) != (step > 0)) return result;
    result.reserve(static_cast<std::uint64_t>(count));
    for (std::int64_t k = 0; k < count; ++k) result.push_back(static_cast<int>(from + k * step));
    return result;
}

Except Util::except(int index) { return Except(IntVector{index}); }
Except Util::except(const IntVector& indexes) { return Except(indexes); }

IntVector Util::select(const IntVector& values, const Except& leftOut) {
    return gather(values, leftOut.complement(countOf("Selection", values.size())));
}

Vector Util::select(const Vector& values, const Except& leftOut) {
    return gather(values, leftOut.complement(countOf("Selection", values.size())));
}

Vector Util::select(const Vector& values, const IntVector& indexes) {
    const char* operation = "Selection";
    Checks::indexes(operation, "index", spanOf(indexes), countOf(operation, values.size()));
    return gather(values, indexes);
}

IntVector Util::difference(const IntVector& a, const IntVector& b, bool sorted) {
    if (sorted) {
        const int* place = b.begin();
        return without(a, [&](int value) {
            while (place != b.end() && *place < value) ++place;
            return place != b.end() && *place == value;
        });
    }
    IntVector ascending(b);
    std::sort(ascending.begin(), ascending.end());
    return without(a, [&](int value) {
        return std::binary_search(ascending.begin(), ascending.end(), value);
    });
}

IntVector Util::bind(const IntVector& a, const IntVector& b) {
    const char* operation = "Bind";
    Checks::indexes(operation, "position", spanOf(b), countOf(operation, a.size()));
    return gather(a, b);
}

IntVector Util::uniqueElements(const IntVector& values) {
    IntVector result(values);
    std::sort(result.begin(), result.end());
    result.resize(
        static_cast<std::uint64_t>(std::unique(result.begin(), result.end()) - result.begin()));
    return result;
}

StringVector Util::uniqueElements(const StringVector& values) {
    // References are sorted, so that a text is copied only once for every distinct value.
    std::vector<const WString*> places;
    places.reserve(values.size());
    for (const WString& value : values) places.push_back(&value);
    std::sort(places.begin(), places.end(),
              [](const WString* a, const WString* b) { return *a < *b; });
    const auto last = std::unique(places.begin(), places.end(),
                                  [](const WString* a, const WString* b) { return *a == *b; });
    StringVector result;
    result.reserve(static_cast<std::uint64_t>(last - places.begin()));
    std::for_each(places.begin(), last, [&](const WString* text) { result.push_back(*text); });
    return result;
}

void Util::replace(IntVector& values, int oldValue, int newValue) {
    values.replace(oldValue, newValue);
}

}  // namespace Veltrix

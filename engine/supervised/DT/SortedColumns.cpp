#include "engine/supervised/DT/SortedColumns.h"

#include <algorithm>

#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine::DT {
namespace {

std::vector<SortedColumns::Entry> sortedEntries(const Vector& values) {
    const IntVector order = Veltrix::Util::argSort(values, Ordering::smallestFirst);
    std::vector<SortedColumns::Entry> entries(order.size());
    for (std::uint64_t k = 0; k < order.size(); ++k) {
        const auto record = static_cast<SortedColumns::Entry>(order[k]);
        const bool same =
            k > 0 && values[record] == values[static_cast<std::uint64_t>(order[k - 1])];
        entries[k] = record | (same ? 0 : SortedColumns::kNewValue);
    }
    return entries;
}

/// A value that starts on a side passes its mark to the first entry with it that goes there.
void splitEntries(std::span<SortedColumns::Entry> entries, const std::uint8_t* left,
                  SortedColumns::Entry* scratch) {
    constexpr SortedColumns::Entry kMark = SortedColumns::kNewValue;
    SortedColumns::Entry* target = entries.data();
    SortedColumns::Entry* other = scratch;
    SortedColumns::Entry leftMark = 0;
    SortedColumns::Entry rightMark = 0;
    for (const SortedColumns::Entry entry : entries) {
        const SortedColumns::Entry record = entry & ~kMark;
        const SortedColumns::Entry goesLeft = left[record];
        leftMark |= entry & kMark;
        rightMark |= entry & kMark;
        // Both places are written and one is kept: a branch would be mispredicted half the time.
        *target = record | leftMark;
        *other = record | rightMark;
        target += goesLeft;
        other += 1 - goesLeft;
        leftMark &= goesLeft - 1;
        rightMark &= -goesLeft;
    }
    std::copy(scratch, other, target);
}

}  // namespace

SortedColumns::SortedColumns(const Features& features, const std::vector<int>& numCategories,
                             ProgressMeter& meter)
    : columns_(numCategories.size()), scratch_(static_cast<std::size_t>(features.numRows())) {
    for (std::size_t j = 0; j < numCategories.size(); ++j) {
        if (numCategories[j] == 0) {
            columns_[j] = sortedEntries(features.column(static_cast<int>(j)));
            meter.add(20 * scratch_.size(), 0);
        }
    }
}

void SortedColumns::split(std::size_t first, std::size_t count, const std::uint8_t* left,
                          ProgressMeter& meter) {
    for (std::vector<Entry>& column : columns_) {
        if (column.empty()) continue;
        splitEntries({column.data() + first, count}, left, scratch_.data());
        meter.add(3 * count, 0);
    }
}

void partitionRecords(std::span<std::int32_t> records, const std::uint8_t* left,
                      std::int32_t* scratch) {
    std::int32_t* target = records.data();
    std::int32_t* other = scratch;
    for (const std::int32_t record : records) {
        const std::int32_t goesLeft = left[record];
        *target = record;
        *other = record;
        target += goesLeft;
        other += 1 - goesLeft;
    }
    std::copy(scratch, other, target);
}

}  // namespace Veltrix::Engine::DT

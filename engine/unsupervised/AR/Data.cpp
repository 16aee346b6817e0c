#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/AR.h"
#include "Veltrix/Engine/Exceptions.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine::AR {
namespace {

constexpr std::uint64_t kMostOccurrences = std::numeric_limits<std::uint32_t>::max();

/// Does what takes memory for transactions.
template <class Build>
void build(const Build& work) {
    try {
        work();
    } catch (const std::bad_alloc&) {
        throw ItemsetsTooLargeForArchitecture();
    } catch (const std::length_error&) {
        throw ItemsetsTooLargeForArchitecture();
    }
}

/// The rows of a column whose whole number is not 0.
void findPresent(const ConstDataFrameColumn& column, std::vector<std::uint32_t>& rows) {
    rows.clear();
    const Vector values = column.toDoubleVector();
    constexpr double kLargest = std::numeric_limits<std::int32_t>::max();
    for (std::uint64_t i = 0; i < values.size(); ++i) {
        const double value = values[i];
        if (value == 0.0) continue;
        if (value != 1.0) {
            // The cell itself knows how to say what is wrong with it.
            const bool whole = std::abs(value) <= kLargest && value == std::trunc(value);
            if (!whole && Convert::toInt(column(static_cast<int>(i))) == 0) continue;
        }
        rows.push_back(static_cast<std::uint32_t>(i));
    }
}

}  // namespace

Data::Data(std::vector<std::wstring> itemNames) : itemNames_(std::move(itemNames)) {
    if (itemNames_.size() >= kMostOccurrences) throw ItemsetsTooLargeForArchitecture();
}

Data::Data(const DataFrame& frame) {
    const int numItems = frame.getNumCols();
    const auto numTransactions = static_cast<std::size_t>(frame.getNumRows());
    ProgressPhase phase("Reading transactions", 2 * static_cast<std::uint64_t>(numItems));
    build([&] {
        // Columns are read twice: to count the items of each transaction, and to put them there.
        ends_.resize(numTransactions);
        std::vector<std::uint32_t> rows;
        std::uint64_t occurrences = 0;
        for (int j = 0; j < numItems; ++j, phase.advance()) {
            itemNames_.push_back(frame.getColName(j).str());
            findPresent(frame(Selection::all, j), rows);
            occurrences += rows.size();
            if (occurrences > kMostOccurrences) throw ItemsetsTooLargeForArchitecture();
            for (const std::uint32_t row : rows) ++ends_[row];
        }
        std::uint32_t place = 0;
        for (std::uint32_t& end : ends_) place += std::exchange(end, place);
        items_.resize(occurrences);
        for (int j = 0; j < numItems; ++j, phase.advance()) {
            findPresent(frame(Selection::all, j), rows);
            for (const std::uint32_t row : rows) {
                items_[ends_[row]++] = static_cast<std::uint32_t>(j);
            }
        }
    });
}

Data& Data::append(std::span<const std::uint64_t> items) {
    for (const std::uint64_t item : items) {
        Checks::index("Transactions", "item", static_cast<std::int64_t>(item),
                      static_cast<std::int64_t>(getNumItems()));
    }
    const std::size_t before = items_.size();
    build([&] {
        ends_.push_back(0);
        try {
            items_.insert(items_.end(), items.begin(), items.end());
        } catch (...) {
            ends_.pop_back();
            throw;
        }
    });
    const auto first = items_.begin() + static_cast<std::ptrdiff_t>(before);
    std::sort(first, items_.end());
    items_.erase(std::unique(first, items_.end()), items_.end());
    if (items_.size() > kMostOccurrences) {
        items_.resize(before);
        ends_.pop_back();
        throw ItemsetsTooLargeForArchitecture();
    }
    ends_.back() = static_cast<std::uint32_t>(items_.size());
    return *this;
}

std::span<const std::uint32_t> Data::getTransaction(std::uint64_t index) const {
    Checks::index("Transactions", "transaction", static_cast<std::int64_t>(index),
                  static_cast<std::int64_t>(getNumTransactions()));
    const std::uint32_t start = index == 0 ? 0 : ends_[index - 1];
    return std::span(items_).subspan(start, ends_[index] - start);
}

}  // namespace Veltrix::Engine::AR

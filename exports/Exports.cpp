#include "Veltrix/Exports.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Engine/KMC.h"

namespace Veltrix {
namespace {

static_assert(std::numeric_limits<unsigned>::digits == 32);

enum Status : int { Done, BadArgument, NoMemory, Failure };

/// Runs an action and turns what it throws into a status.
template <class Action>
Status guarded(Action&& action) noexcept {
    try {
        action();
        return Done;
    } catch (const std::bad_alloc&) {
        return NoMemory;
    } catch (const std::length_error&) {
        return NoMemory;
    } catch (const Exception&) {
        return BadArgument;
    } catch (...) {
        return Failure;
    }
}

bool fits(unsigned value) { return value <= std::numeric_limits<std::int32_t>::max(); }

}  // namespace
}  // namespace Veltrix

int RunCluster(unsigned numColumns, int numRows, const double* values, unsigned numClusters,
               unsigned maxIterations, unsigned numRandomStarts, unsigned seed, int* out) {
    using namespace Veltrix;
    const bool allowed = values != nullptr && out != nullptr && numRows > 0 && fits(numColumns) &&
                         fits(numClusters) && fits(maxIterations) && fits(numRandomStarts);
    if (!allowed) return BadArgument;
    return guarded([&] {
        Engine::KMC::Model model;
        model.setNumClusters(static_cast<std::int32_t>(numClusters))
            .setMaxIterations(static_cast<std::int32_t>(maxIterations))
            .setNumRandomStarts(static_cast<std::int32_t>(numRandomStarts))
            .setSeed(static_cast<std::int32_t>(seed));
        Matrix x(numRows, static_cast<int>(numColumns), MatrixOrderType::columnMajor,
                 Storage::kUnfilled);
        std::copy_n(values, std::uint64_t{numColumns} * static_cast<std::uint64_t>(numRows),
                    x.data());
        const IntVector clusters = model.fit(x).predict(x);
        std::copy(clusters.begin(), clusters.end(), out);
    });
}

void VTX_DeleteStringArray(VtxStringArray* strings) { delete strings; }

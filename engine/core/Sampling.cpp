#include "Veltrix/Engine/Sampling.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "engine/core/SamplingChecks.h"
#include "support/RuntimeRandom.h"

namespace Veltrix::Engine::Sampling {
namespace {

using Support::RuntimeRandom;

constexpr double kKeyScale = RuntimeRandom::kMax;
constexpr double kTwoThirds = 0.6666666666666666;

/// Number of generator outputs r with r/32767 < q: comparing outputs with it is comparing keys
/// with q.
std::uint32_t outputsBelow(double q) {
    if (!(q > 0.0)) return 0;
    if (q > 1.0) return RuntimeRandom::kMax + 1;
    auto count = static_cast<std::uint32_t>(std::ceil(q * kKeyScale));
    while (count > 0 && (count - 1) / kKeyScale >= q) --count;
    while (count <= RuntimeRandom::kMax && count / kKeyScale < q) ++count;
    return count;
}

constexpr std::size_t kBlockSize = 16;

/// The state j + 1 draws after x is factor[j]·x + offset[j].
struct Jumps {
    std::array<std::uint32_t, kBlockSize> factor{};
    std::array<std::uint32_t, kBlockSize> offset{};

    constexpr Jumps() {
        std::uint32_t a = 1;
        std::uint32_t c = 0;
        for (std::size_t j = 0; j < kBlockSize; ++j) {
            a *= RuntimeRandom::kMultiplier;
            c = c * RuntimeRandom::kMultiplier + RuntimeRandom::kIncrement;
            factor[j] = a;
            offset[j] = c;
        }
    }
};
constexpr Jumps kJumps;

/// The outputs of the runtime generator in blocks. Every output of a block comes straight from the
/// state before the block, so that the processor works on many at once instead of waiting for one
/// after another.
class OutputBlocks {
  public:
    explicit OutputBlocks(std::uint32_t seed) : state_(seed) {}

    /// Draws a block. Returns whether one of its outputs lies below the bound; most blocks have
    /// none.
    bool next(std::uint32_t bound) {
        // Outputs have 15 bits and the bound 16: the difference has bit 31 where it is negative.
        std::uint32_t differences = 0;
        for (std::size_t j = 0; j < kBlockSize; ++j) {
            outputs_[j] =
                (state_ * kJumps.factor[j] + kJumps.offset[j]) >> 16 & RuntimeRandom::kMax;
            differences |= outputs_[j] - bound;
        }
        state_ = state_ * kJumps.factor[kBlockSize - 1] + kJumps.offset[kBlockSize - 1];
        return differences >> 31 != 0;
    }
    const std::array<std::uint32_t, kBlockSize>& outputs() const { return outputs_; }

  private:
    std::uint32_t state_;
    std::array<std::uint32_t, kBlockSize> outputs_{};
};

/// What becomes of the records of a block of outputs.
struct Taking {
    std::uint32_t takeBelow;
    std::uint32_t waitBelow;
    std::uint32_t population;
    bool randomIndex;
    IntVector& sample;
    std::vector<WaitListEntry>& waitList;
    int accepted = 0;

    /// Outputs that a record takes.
    std::size_t step() const { return randomIndex ? 2 : 1; }

    /// The records [first, end), at most a block, until the sample is full. Kept out of the loop
    /// over the blocks, most of which hold no record of interest.
    [[gnu::noinline]] void take(const std::array<std::uint32_t, kBlockSize>& outputs, int first,
                                int end) {
        const int size = static_cast<int>(sample.size());
        const std::uint32_t bound = waitBelow;
        const std::size_t stride = step();
        for (std::size_t j = 0; first < end; j += stride, ++first) {
            if (outputs[j] >= bound) continue;
            const int index = randomIndex ? static_cast<int>(outputs[j + 1] % population) : first;
            if (outputs[j] >= takeBelow) {
                waitList.push_back({outputs[j] / kKeyScale, index});
                continue;
            }
            sample[static_cast<std::uint64_t>(accepted)] = index;
            if (++accepted == size) return;
        }
    }
};

/// One pass of a stable radix sort of `from` into `to`, by the bits of the keys' outputs that
/// `shift` leaves as the lowest eight.
void sortByDigit(const std::vector<WaitListEntry>& from, std::vector<WaitListEntry>& to,
                 unsigned shift) {
    // The product misses the output by its rounding error only.
    const auto digit = [shift](const WaitListEntry& entry) {
        return static_cast<std::uint32_t>(entry.key * kKeyScale + 0.25) >> shift & 255u;
    };
    std::array<std::size_t, 257> starts{};
    for (const WaitListEntry& entry : from) ++starts[digit(entry) + 1];
    for (std::size_t d = 1; d < starts.size(); ++d) starts[d] += starts[d - 1];
    for (const WaitListEntry& entry : from) to[starts[digit(entry)]++] = entry;
}

/// Stable, by ascending key: a key is one of 2¹⁵ values, so two passes of eight bits do.
void sortByKey(std::vector<WaitListEntry>& waitList) {
    std::vector<WaitListEntry> byLowBits(waitList.size());
    sortByDigit(waitList, byLowBits, 0);
    sortByDigit(byLowBits, waitList, 8);
}

}  // namespace

Base::~Base() = default;

Threshold Base::computeThreshold() const { return {0.0, 2.0}; }

ScalableSRS::ScalableSRS(int populationSize, int sampleSize)
    : populationSize_(Checks::count("Random sample", "records in the population", populationSize)),
      sampleSize_(Checks::count("Random sample", "records to draw", sampleSize)) {}
ScalableSRS::~ScalableSRS() = default;

ScalableSRS& ScalableSRS::setSeed(std::uint32_t seed) noexcept {
    seed_ = seed;
    return *this;
}

ScalableSRS& ScalableSRS::setRandomIndex(bool randomIndex) noexcept {
    randomIndex_ = randomIndex;
    return *this;
}

ScalableSRS& ScalableSRS::setDelta(double delta) {
    delta_ = Checks::failureProbability(delta);
    return *this;
}

Threshold ScalableSRS::computeThreshold() const {
    if (populationSize_ == 0) return {0.0, 1.0};
    const double n = populationSize_;
    const double p = sampleSize_ / n;
    const double g = -std::log(delta_) / n;
    const double g1 = g / kTwoThirds;
    return {std::max(0.0, p + g1 - std::sqrt((3.0 * p + g1) * g1)),
            std::min(1.0, p + g + std::sqrt((2.0 * p + g) * g))};
}

struct ScalableSRS::Draw {
    IntVector sample;
    std::vector<WaitListEntry> waitList;
    int accepted = 0;
};

ScalableSRS::Draw ScalableSRS::draw(const Threshold& threshold) const {
    Draw drawn;
    drawn.sample = IntVector(static_cast<std::uint64_t>(sampleSize_));
    if (populationSize_ == 0) return drawn;
    const std::uint32_t takeBelow = outputsBelow(threshold.q1);
    Taking taking{takeBelow,
                  std::max(takeBelow, outputsBelow(threshold.q2)),
                  static_cast<std::uint32_t>(populationSize_),
                  randomIndex_,
                  drawn.sample,
                  drawn.waitList};
    // Beyond the population only drawn indexes exist.
    const int limit = randomIndex_ ? std::max(populationSize_, sampleSize_) : populationSize_;
    const int blockRecords = static_cast<int>(kBlockSize / taking.step());
    OutputBlocks blocks(seed_);
    constexpr int kReportEvery = 1 << 18;  // whole blocks
    ProgressPhase phase("Drawing records", static_cast<std::uint64_t>(limit));
    for (int i = 0; i < limit && taking.accepted < sampleSize_;) {
        const int end = i + std::min(kReportEvery, limit - i);
        for (; i < end && taking.accepted < sampleSize_; i += std::min(blockRecords, end - i)) {
            if (!blocks.next(taking.waitBelow)) continue;
            taking.take(blocks.outputs(), i, i + std::min(blockRecords, end - i));
        }
        phase.advance(kReportEvery);
    }
    drawn.accepted = taking.accepted;
    return drawn;
}

void ScalableSRS::adopt(Draw&& drawn) noexcept {
    sample_ = std::move(drawn.sample);
    waitList_ = std::move(drawn.waitList);
}

int ScalableSRS::generatePairs(const Threshold& threshold) {
    Draw drawn = draw(threshold);
    const int accepted = drawn.accepted;
    adopt(std::move(drawn));
    return accepted;
}

IntVector ScalableSRS::sample() {
    Draw drawn = draw(computeThreshold());
    const auto accepted = static_cast<std::uint64_t>(drawn.accepted);
    if (accepted < drawn.sample.size()) {
        sortByKey(drawn.waitList);
        const auto needed =
            std::min<std::uint64_t>(drawn.sample.size() - accepted, drawn.waitList.size());
        for (std::uint64_t i = 0; i < needed; ++i) {
            drawn.sample[accepted + i] = drawn.waitList[i].index;
        }
    }
    IntVector result = drawn.sample;
    adopt(std::move(drawn));
    return result;
}

Partitioning::Partitioning(int numRecords, double proportion)
    : ScalableSRS(numRecords, numRecords),
      proportion_(Checks::share("Partitioning", "proportion", proportion)) {}
Partitioning::~Partitioning() = default;

Partitioning& Partitioning::setSeed(std::uint32_t seed) noexcept {
    ScalableSRS::setSeed(seed);
    return *this;
}

int Partitioning::getFirstPartitionSize() const noexcept {
    return static_cast<int>(std::lround(proportion_ * getPopulationSize()));
}

Threshold Partitioning::computeThreshold() const {
    if (getPopulationSize() == 0) return {0.0, 2.0};
    const double p = proportion_;
    const double g1 = std::log(getDelta()) * -kTwoThirds / getPopulationSize();
    return {std::max(0.0, p + g1 - std::sqrt((3.0 * p + g1) * g1)), 2.0};
}

static_assert(std::is_nothrow_move_constructible_v<Partitioning>);
static_assert(std::is_nothrow_move_assignable_v<Partitioning>);

}  // namespace Veltrix::Engine::Sampling

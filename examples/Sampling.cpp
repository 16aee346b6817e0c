// Draws a sample, a partition and an oversampled training set, as an embedding host would.
#include <cstdio>

#include "Veltrix/Veltrix.h"

namespace {

void print(const char* what, const Veltrix::IntVector& rows, std::uint64_t first,
           std::uint64_t last) {
    std::printf("%-11s", what);
    for (std::uint64_t i = first; i < last; ++i) std::printf(" %d", rows[i]);
    std::printf("\n");
}

}  // namespace

int main() {
    using namespace Veltrix;
    namespace Sampling = Engine::Sampling;

    const IntVector sample = Sampling::ScalableSRS(1000, 8).setSeed(2024).sample();
    print("sample", sample, 0, sample.size());

    // Sixty percent for training; the other records stand behind in random order.
    Sampling::Partitioning partitioning(20, 0.6);
    const IntVector order = partitioning.sample();
    const auto cut = static_cast<std::uint64_t>(partitioning.getFirstPartitionSize());
    print("training", order, 0, cut);
    print("test", order, cut, order.size());

    // Three rows, from the regions in proportion to their sizes.
    DataFrame regions;
    regions.append(StringVector{L"north", L"south", L"north", L"east", L"north", L"south"},
                   L"region");
    const IntVector stratified =
        Sampling::StratifiedSRS().setData(regions).setSampleSize(3).sample();
    print("stratified", stratified, 0, stratified.size());

    // Three buyers among twelve: training holds as many buyers as others.
    const StringVector bought{L"no", L"no",  L"yes", L"no", L"no",  L"no",
                              L"no", L"yes", L"no",  L"no", L"yes", L"no"};
    Sampling::OversamplingPartitioning oversampling;
    oversampling.setTrainingShare(0.7).setSeed(1).partition(bought, L"yes");
    print("oversampled", oversampling.getTraining(), 0, oversampling.getTraining().size());
}

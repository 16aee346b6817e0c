#include "engine/supervised/NeuralNetwork/MiniBatches.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

#include "data/containers/Lines.h"
#include "engine/supervised/NeuralNetwork/Values.h"

namespace Veltrix::Engine::NeuralNetwork {

MiniBatches::MiniBatches(const Matrix& x, const Matrix& y, int size) : x_(x), y_(y), size_(size) {}

void MiniBatches::shuffle(unsigned seed) {
    order_.resize(static_cast<std::uint64_t>(x_.getNumCols()));
    std::iota(order_.begin(), order_.end(), 0);
    order_.shuffle(seed);
}

void MiniBatches::load(int index, Batch& batch) const {
    const int first = index * size_;
    const int count = std::min(size_, x_.getNumCols() - first);
    gather(x_, first, count, batch.features);
    gather(y_, first, count, batch.responses);
}

void MiniBatches::gather(const Matrix& from, int first, int count, Matrix& to) const {
    const int rows = from.getNumRows();
    reshape(to, rows, count);
    const LineSteps steps(from);
    double* target = to.data();
    for (int k = first; k < first + count; ++k, target += rows) {
        const int record = order_.empty() ? k : order_[k];
        const double* source = from.data() + record * steps.column;
        if (steps.row == 1) {
            std::copy_n(source, rows, target);
        } else {
            for (int i = 0; i < rows; ++i) target[i] = source[i * steps.row];
        }
    }
}

}  // namespace Veltrix::Engine::NeuralNetwork

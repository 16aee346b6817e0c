#include <algorithm>
#include <cstdint>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/DA.h"
#include "data/containers/Lines.h"
#include "engine/core/Checks.h"
#include "support/LinearAlgebra.h"
#include "support/VectorMath.h"
#include "support/kernels/Arrays.h"
#include "support/kernels/RowBlocks.h"

namespace Veltrix::Engine::DA {
namespace {

constexpr const char* kOperation = "Discriminant posteriors";

/// Rows of a block of that many columns that stays in the second-level cache.
std::int64_t blockRows(std::int64_t columns) {
    constexpr std::int64_t kElements = 32768;
    constexpr std::int64_t kLeast = 64;
    constexpr std::int64_t kMultiple = Kernels::kRowMultiple;
    return std::max(kElements / columns, kLeast) / kMultiple * kMultiple;
}

/// Some rows of x less a centre behind a column of ones, column-major. The last block is padded
/// with rows of zeros to a multiple of what the kernels take at a time.
struct RowBlock {
    const Matrix& x;
    Storage::Buffer<double> values;
    std::int64_t first = 0;
    std::int64_t count = 0;
    std::int64_t ld = 0;

    RowBlock(const Matrix& from, std::int64_t rows)
        : x(from), values(static_cast<std::size_t>(rows * (from.getNumCols() + std::int64_t{1}))) {}

    void start(std::int64_t from, std::int64_t rows) {
        constexpr std::int64_t kMultiple = Kernels::kRowMultiple;
        first = from;
        count = rows;
        ld = (rows + kMultiple - 1) / kMultiple * kMultiple;
        std::fill_n(values.begin(), ld, 1.0);
    }
    const double* records() const { return values.data() + ld; }
    void centreOn(const double* centre) {
        const LineSteps steps(x);
        const double* from = x.data() + first * steps.row;
        for (std::int64_t j = 0; j < x.getNumCols(); ++j) {
            double* column = values.data() + (j + 1) * ld;
            const double* source = from + j * steps.column;
            if (steps.row == 1) {
                for (std::int64_t i = 0; i < count; ++i) column[i] = source[i] - centre[j];
            } else {
                for (std::int64_t i = 0; i < count; ++i) {
                    column[i] = source[i * steps.row] - centre[j];
                }
            }
            std::fill(column + count, column + ld, 0.0);
        }
    }
};

/// Scores of a block, column-major with the block's leading dimension, from its directions.
void linearScores(RowBlock& block, const Vector& centre, const Matrix& directions,
                  const Vector& offsets, double* scores) {
    const std::int64_t numGroups = directions.getNumCols();
    block.centreOn(centre.data());
    for (std::int64_t g = 0; g < numGroups; ++g) {
        std::fill_n(scores + g * block.ld, block.ld, offsets.data()[g]);
    }
    const auto plain = Support::Transpose::No;
    const std::int64_t cols = directions.getNumRows();
    Support::gemm(plain, plain, block.ld, numGroups, cols, 1.0, block.records(), block.ld,
                  directions.data(), cols, 1.0, scores, block.ld);
}

/// The score of one group, offset − ½‖(1, row)·root‖².
void quadraticScore(RowBlock& block, const double* mean, const Matrix& root, double offset,
                    double* scores) {
    constexpr std::int64_t kPanel = 12;
    const std::int64_t cols = root.getNumCols();
    block.centreOn(mean);
    std::fill_n(scores, block.ld, 0.0);
    for (std::int64_t first = 0; first < cols; first += kPanel) {
        const std::int64_t width = std::min(kPanel, cols - first);
        Kernels::rowBlocks().addRowNorms(block.ld, first + width + 1, block.values.data(),
                                         root.data() + first * (cols + 1), cols + 1, width, scores);
    }
    for (std::int64_t i = 0; i < block.ld; ++i) scores[i] = offset - 0.5 * scores[i];
}

/// Each row's scores become their exponentials as shares of their sum. `work` holds 3 · ld doubles.
void exponentialShares(std::int64_t ld, std::int64_t numGroups, double* scores, double* work) {
    double* const largest = work;
    double* const sums = work + ld;
    double* const rests = work + 2 * ld;
    std::copy_n(scores, ld, largest);
    for (std::int64_t g = 1; g < numGroups; ++g) {
        const double* column = scores + g * ld;
        for (std::int64_t i = 0; i < ld; ++i) largest[i] = std::max(largest[i], column[i]);
    }
    std::fill_n(sums, 2 * ld, 0.0);
    for (std::int64_t g = 0; g < numGroups; ++g) {
        double* column = scores + g * ld;
        for (std::int64_t i = 0; i < ld; ++i) column[i] -= largest[i];
        Support::exp(column, column, ld);
        for (std::int64_t i = 0; i < ld; ++i) {
            Kernels::CompensatedSum sum{sums[i], rests[i]};
            sum.add(column[i]);
            sums[i] = sum.sum;
            rests[i] = sum.rest;
        }
    }
    for (std::int64_t i = 0; i < ld; ++i) sums[i] += rests[i];
    for (std::int64_t g = 0; g < numGroups; ++g) {
        double* column = scores + g * ld;
        for (std::int64_t i = 0; i < ld; ++i) column[i] /= sums[i];
    }
}

/// Takes the rows of a block over into the result.
void store(const RowBlock& block, const double* shares, Matrix& result) {
    const LineSteps steps(result);
    for (std::int64_t g = 0; g < result.getNumCols(); ++g) {
        double* target = result.data() + block.first * steps.row + g * steps.column;
        const double* source = shares + g * block.ld;
        for (std::int64_t i = 0; i < block.count; ++i) target[i * steps.row] = source[i];
    }
}

}  // namespace

Matrix Model::posteriorProbability(const Matrix& x) const {
    Checks::fitted(kOperation, !fitted_.means.empty());
    Checks::columns(kOperation, x.getNumCols(), fitted_.means.getNumRows());
    const std::int64_t n = x.getNumRows();
    const int numGroups = fitted_.means.getNumCols();
    Matrix result(x.getNumRows(), numGroups, x.getMatrixOrder(), Storage::kUnfilled);
    const std::int64_t step = blockRows(x.getNumCols() + numGroups);
    RowBlock block(x, step);
    Storage::Buffer<double> scores(static_cast<std::size_t>(step * numGroups));
    Storage::Buffer<double> work(static_cast<std::size_t>(step * 3));
    ProgressPhase phase("Scoring records", static_cast<std::uint64_t>(n));
    for (std::int64_t first = 0; first < n; first += step) {
        block.start(first, std::min(step, n - first));
        if (fitted_.roots.empty()) {
            linearScores(block, fitted_.centre, fitted_.directions, fitted_.offsets, scores.data());
        } else {
            for (std::int64_t g = 0; g < numGroups; ++g) {
                quadraticScore(block, fitted_.means.data() + g * x.getNumCols(),
                               fitted_.roots[static_cast<std::size_t>(g)],
                               fitted_.offsets.data()[g], scores.data() + g * block.ld);
            }
        }
        exponentialShares(block.ld, numGroups, scores.data(), work.data());
        store(block, scores.data(), result);
        phase.advance(static_cast<std::uint64_t>(block.count));
    }
    return result;
}

DataFrame Model::posteriorProbability(const DataFrame& x) const {
    Checks::fitted(kOperation, !fitted_.means.empty());
    DataFrame frame =
        Convert::toDataFrame(posteriorProbability(columns_.toMatrix(x)), getClasses());
    frame.setName(L"Posterior Probability: " + x.getName());
    return frame;
}

}  // namespace Veltrix::Engine::DA

#include "data/factorisations/LeadingTriplets.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Checks.h"
#include "data/containers/Lines.h"
#include "support/LinearAlgebra.h"

namespace Veltrix {
namespace {

using Support::Transpose;
using Support::Triangle;

constexpr const char* kOperation = "SVD";
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
/// Below this order the whole decomposition takes a moment only.
constexpr std::int64_t kLeastOrder = 256;
/// Smallest number of singular values for each one that is asked for.
constexpr std::int64_t kLeastRatio = 10;
/// Vectors of a Lanczos step: few, as the values that lie close together then show early, and
/// enough for a product with the Gram matrix not to wait for memory.
constexpr std::int64_t kBlock = 4;
constexpr unsigned kSeed = 20190416;
/// Largest distance from the true subspace, as the sine of the angle between the two.
constexpr double kAccuracy = 1e-9;
/// Entries whose squares neither overflow nor vanish.
constexpr double kLeastSize = 1e-100;
constexpr double kGreatestSize = 1e100;

Matrix unfilled(std::int64_t rows, std::int64_t cols) {
    return {Checks::dimension(kOperation, "rows", static_cast<std::uint64_t>(rows)),
            Checks::dimension(kOperation, "columns", static_cast<std::uint64_t>(cols)),
            MatrixOrderType::columnMajor, Storage::kUnfilled};
}

/// A matrix, or its transpose, as one with no fewer rows than columns.
class Tall {
  public:
    explicit Tall(const Matrix& a)
        : values_(a.data()),
          shape_(lineShape(a)),
          turned_(shape_.length < shape_.count),
          rows_(std::max(shape_.length, shape_.count)),
          cols_(std::min(shape_.length, shape_.count)),
          rowsAreThoseOfA_((a.getMatrixOrder() == MatrixOrderType::columnMajor) != turned_) {}

    std::int64_t rows() const { return rows_; }
    std::int64_t cols() const { return cols_; }
    bool rowsAreThoseOfA() const { return rowsAreThoseOfA_; }

    /// The matrix times x.
    Matrix times(const Matrix& x) const {
        Matrix result = unfilled(rows_, x.getNumCols());
        Support::gemm(turned_ ? Transpose::Yes : Transpose::No, Transpose::No, rows_,
                      x.getNumCols(), cols_, 1.0, values_, shape_.length, x.data(), cols_, 0.0,
                      result.data(), rows_);
        return result;
    }

    /// Its transpose times x, less y.
    Matrix transposeTimes(const Matrix& x, Matrix y) const {
        Support::gemm(turned_ ? Transpose::No : Transpose::Yes, Transpose::No, cols_,
                      x.getNumCols(), rows_, 1.0, values_, shape_.length, x.data(), rows_, -1.0,
                      y.data(), cols_);
        return y;
    }

    /// The products of its columns, symmetric.
    Matrix gram() const {
        constexpr std::int64_t kOperations = 1'000'000'000;
        const std::int64_t step = std::max<std::int64_t>(kOperations / (cols_ * cols_), 2 * kBlock);
        Matrix result = unfilled(cols_, cols_);
        ProgressPhase phase("Products of columns", static_cast<std::uint64_t>(rows_));
        for (std::int64_t first = 0; first < rows_; first += step) {
            const std::int64_t count = std::min(step, rows_ - first);
            Support::syrk(Triangle::Upper, turned_ ? Transpose::No : Transpose::Yes, cols_, count,
                          1.0, values_ + first * (turned_ ? shape_.length : 1), shape_.length,
                          first == 0 ? 0.0 : 1.0, result.data(), cols_);
            phase.advance(static_cast<std::uint64_t>(count));
        }
        for (int j = 0; j < result.getNumCols(); ++j) {
            for (int i = 0; i < j; ++i) result(j, i) = result(i, j);
        }
        return result;
    }

  private:
    const double* values_;
    LineShape shape_;
    bool turned_;
    std::int64_t rows_;
    std::int64_t cols_;
    bool rowsAreThoseOfA_;
};

/// An orthonormal basis Q of span{X, G X, G² X, …} for a symmetric G and a random block X, with
/// QᵀGQ (Golub and Underwood 1977). Every block is made orthogonal to all earlier ones.
class KrylovBasis {
  public:
    KrylovBasis(const Matrix& gram, std::int64_t capacity)
        : gram_(gram),
          order_(gram.getNumRows()),
          capacity_(capacity),
          basis_(unfilled(order_, capacity + kBlock)),
          projected_(unfilled(capacity, capacity)),
          link_(unfilled(kBlock, kBlock)),
          scalars_(kBlock) {
        const Matrix start = Util::gaussianMatrix(gram.getNumRows(), kBlock,
                                                  MatrixOrderType::columnMajor, 0.0, 1.0, kSeed);
        std::copy_n(start.data(), order_ * kBlock, next());
        orthonormalise();
    }

    std::int64_t size() const { return size_; }
    bool full() const { return size_ + kBlock > capacity_; }

    /// Takes the next block in and prepares the one after it. False when rounding left none.
    bool grow() {
        const double* const block = next();
        double* const products = projected_.data() + size_ * capacity_;
        size_ += kBlock;
        Support::gemm(Transpose::No, Transpose::No, order_, kBlock, order_, 1.0, gram_.data(),
                      order_, block, order_, 0.0, next(), order_);
        removeBasis(products, capacity_);
        return orthonormalise();
    }

    /// Eigenpairs of QᵀGQ, ascending.
    struct Pairs {
        Matrix vectors;
        Vector values;
    };
    Pairs pairs() const {
        Pairs result{unfilled(size_, size_), Vector(static_cast<std::uint64_t>(size_))};
        for (std::int64_t j = 0; j < size_; ++j) {
            std::copy_n(projected_.data() + j * capacity_, size_,
                        result.vectors.data() + j * size_);
        }
        Support::syevd(Triangle::Upper, size_, result.vectors.data(), size_, result.values.data());
        return result;
    }

    /// Lengths of G x − λ x for the vectors of the last `count` pairs, joined.
    double residual(const Pairs& pairs, int count) const {
        Matrix parts = unfilled(kBlock, count);
        Support::gemm(Transpose::No, Transpose::No, kBlock, count, kBlock, 1.0, link_.data(),
                      kBlock, pairs.vectors.data() + size_ * (size_ - count) + size_ - kBlock,
                      size_, 0.0, parts.data(), kBlock);
        return std::sqrt(Util::dotProduct(parts, parts));
    }

    /// The vectors of the last `count` pairs, the last one first.
    Matrix vectors(const Pairs& pairs, int count) const {
        Matrix weights = unfilled(size_, count);
        for (std::int64_t j = 0; j < count; ++j) {
            std::copy_n(pairs.vectors.data() + size_ * (size_ - 1 - j), size_,
                        weights.data() + size_ * j);
        }
        Matrix result = unfilled(order_, count);
        Support::gemm(Transpose::No, Transpose::No, order_, count, size_, 1.0, basis_.data(),
                      order_, weights.data(), size_, 0.0, result.data(), order_);
        return result;
    }

  private:
    double* next() { return basis_.data() + size_ * order_; }

    /// products = QᵀW and W −= Q products for the block W after the basis.
    void removeBasis(double* products, std::int64_t step) {
        if (size_ == 0) return;
        Support::gemm(Transpose::Yes, Transpose::No, size_, kBlock, order_, 1.0, basis_.data(),
                      order_, next(), order_, 0.0, products, step);
        Support::gemm(Transpose::No, Transpose::No, order_, kBlock, size_, -1.0, basis_.data(),
                      order_, products, step, 1.0, next(), order_);
    }

    /// W = X R for the block after the basis, X in its place; returns R.
    Matrix triangle() {
        Support::geqrf(order_, kBlock, next(), order_, scalars_.data());
        Matrix r(kBlock, kBlock);
        Matrix x(gram_.getNumRows(), kBlock);
        for (std::int64_t j = 0; j < kBlock; ++j) {
            std::copy_n(next() + j * order_, j + 1, r.data() + j * kBlock);
            x.data()[j * order_ + j] = 1.0;
        }
        Support::ormqr(Support::Side::Left, Transpose::No, order_, kBlock, kBlock, next(), order_,
                       scalars_.data(), x.data(), order_);
        std::copy_n(x.data(), order_ * kBlock, next());
        return r;
    }

    /// Columns that are nearly dependent become directions that are nearly arbitrary: these are
    /// made orthogonal to the basis again until nothing is left to take away.
    bool orthonormalise() {
        constexpr int kPasses = 4;
        link_ = triangle();
        Matrix products = unfilled(std::max(size_, kBlock), kBlock);
        for (int pass = 0; pass < kPasses; ++pass) {
            removeBasis(products.data(), products.getNumRows());
            const Matrix change = triangle();
            link_ = change * link_;
            const Vector kept = Util::absolute(Util::diag(change));
            if (std::ranges::all_of(kept, [](double part) { return part > 0.9; })) return true;
        }
        return false;
    }

    const Matrix& gram_;
    std::int64_t order_;
    std::int64_t capacity_;
    std::int64_t size_ = 0;
    Matrix basis_;      ///< and the block after it
    Matrix projected_;  ///< its upper triangle
    Matrix link_;       ///< G times the last block = Q (QᵀG block) + next block times link
    Vector scalars_;
};

/// What the iteration found: vectors in the space of the columns, and the square of the singular
/// value after them, which is at least this.
struct Candidates {
    Matrix vectors;
    double nextSquare = 0.0;
};

std::optional<Candidates> iterate(const Matrix& gram, int count) {
    const std::int64_t capacity = gram.getNumRows() * std::int64_t{3} / 5 / kBlock * kBlock;
    KrylovBasis basis(gram, capacity);
    std::int64_t check = std::max<std::int64_t>(4 * kBlock, std::int64_t{3} * count);
    ProgressPhase phase("Leading singular vectors", static_cast<std::uint64_t>(capacity));
    while (!basis.full()) {
        if (!basis.grow()) return std::nullopt;
        phase.advance(kBlock);
        if ((basis.size() < check && !basis.full()) || basis.size() <= count) continue;
        const KrylovBasis::Pairs pairs = basis.pairs();
        const double* const last = pairs.values.data() + pairs.values.size() - 1;
        const double gap = last[1 - count] - last[-count];
        const double residual = basis.residual(pairs, count);
        const double enough = std::max(0.01 * kAccuracy * gap, 4.0 * kEpsilon * *last);
        // Once the residual falls it falls fast.
        check += check / (residual < gap ? 8 : 3);
        if (residual > enough) continue;
        return Candidates{basis.vectors(pairs, count), std::max(last[-count], 0.0)};
    }
    return std::nullopt;
}

struct Triplets {
    Matrix tall;   ///< one vector per column
    Matrix small;  ///< likewise
    Vector values;
};

/// The best triplets of the space that the vectors span (Rayleigh and Ritz).
Triplets tripletsWithin(const Tall& a, const Matrix& vectors) {
    const int count = vectors.getNumCols();
    Matrix images = a.times(vectors);
    Triplets result{unfilled(a.rows(), count), unfilled(a.cols(), count),
                    Vector(static_cast<std::uint64_t>(count))};
    Matrix turn = unfilled(count, count);
    Support::gesddThin(a.rows(), count, images.data(), a.rows(), result.values.data(),
                       result.tall.data(), a.rows(), turn.data(), count);
    Support::gemm(Transpose::No, Transpose::Yes, a.cols(), count, count, 1.0, vectors.data(),
                  a.cols(), turn.data(), count, 0.0, result.small.data(), a.cols());
    return result;
}

Matrix scaledColumns(Matrix vectors, const Vector& factors) {
    for (int j = 0; j < vectors.getNumCols(); ++j) {
        vectors(Selection::all, j) *= factors[static_cast<std::uint64_t>(j)];
    }
    return vectors;
}

/// Whether no other singular value reaches `bound`: bound² I − AᵀA + V S² Vᵀ is then positive
/// definite. Takes the Gram matrix' place.
bool noneBeyond(double boundSquare, const Triplets& found, Matrix& gram) {
    const std::int64_t order = gram.getNumRows();
    const Matrix scaled = scaledColumns(found.small, found.values);
    Support::syrk(Triangle::Upper, Transpose::No, order, scaled.getNumCols(), 1.0, scaled.data(),
                  order, -1.0, gram.data(), order);
    for (int i = 0; i < gram.getNumRows(); ++i) gram(i, i) += boundSquare;
    try {
        Support::potrf(Triangle::Upper, order, gram.data(), order);
    } catch (const Support::LinearAlgebraError& error) {
        if (error.kind != Support::LinearAlgebraFailure::NotPositiveDefinite) throw;
        return false;
    }
    return true;
}

/// Whether the triplets are the leading ones to the accuracy wanted: the sine of the angle between
/// the spaces is at most ‖AᵀU − V S‖ divided by the distance from the smallest of their values to
/// the largest of the others (Wedin 1972), and so far from the true values are theirs at most.
bool proven(const Tall& a, const Triplets& found, double nextSquare, Matrix& gram) {
    const double least = *(found.values.end() - 1);
    const double boundSquare = 0.5 * (least * least + nextSquare);
    const Matrix residual = a.transposeTimes(found.tall, scaledColumns(found.small, found.values));
    const double length = std::sqrt(Util::dotProduct(residual, residual));
    return length <= kAccuracy * (least - std::sqrt(boundSquare)) &&
           noneBeyond(boundSquare, found, gram);
}

bool sizesAreUsual(const Matrix& a) {
    double largest = 0.0;
    const double* const values = a.data();
    for (std::int64_t i = 0; i < sizeOf(a); ++i) largest = std::max(largest, std::fabs(values[i]));
    return largest > kLeastSize && largest < kGreatestSize;
}

}  // namespace

std::optional<SVD> leadingTriplets(const Matrix& a, int count) {
    const Tall tall(a);
    const bool worthwhile =
        count > 0 && tall.cols() >= kLeastOrder && count <= tall.cols() / kLeastRatio;
    if (!worthwhile || !sizesAreUsual(a)) return std::nullopt;
    return Checks::routine(kOperation, [&]() -> std::optional<SVD> {
        Matrix gram = tall.gram();
        const std::optional<Candidates> candidates = iterate(gram, count);
        if (!candidates) return std::nullopt;
        Triplets found = tripletsWithin(tall, candidates->vectors);
        if (!proven(tall, found, candidates->nextSquare, gram)) return std::nullopt;
        Matrix& left = tall.rowsAreThoseOfA() ? found.tall : found.small;
        Matrix& right = tall.rowsAreThoseOfA() ? found.small : found.tall;
        right.transpose();
        fixSigns(left, right);
        return SVD(std::move(found.values), std::move(left), std::move(right));
    });
}

}  // namespace Veltrix

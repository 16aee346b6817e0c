#pragma once

// See LanesImpl.h for the rules.

#include "support/kernels/LanesImpl.h"
#include "support/kernels/RowBlocks.h"

namespace {

constexpr int kPanel = static_cast<int>(Veltrix::Kernels::kColumnMultiple);

/// products[a · J + j] = vₐᵀbⱼ for K columns v and J columns b.
template <int K, int J>
inline void dotProducts(int64_t rows, const double* v, const double* b, double* products) {
    Lanes sums[K * J];
    for (Lanes& sum : sums) sum = Lanes{};
    for (int64_t i = 0; i < rows; i += kLanes) {
        Lanes left[K];
        for (int a = 0; a < K; ++a) left[a] = load(v + a * rows + i);
        for (int j = 0; j < J; ++j) {
            const Lanes right = load(b + j * rows + i);
            for (int a = 0; a < K; ++a) sums[a * J + j] += left[a] * right;
        }
    }
    for (int k = 0; k < K * J; ++k) {
        products[k] = total(sums[k]);
    }
}

/// bⱼ −= Σₐ w[a · J + j] vₐ for K columns v and J columns b.
template <int K, int J>
inline void subtractCombinations(int64_t rows, const double* v, const double* w, double* b) {
    for (int64_t i = 0; i < rows; i += kLanes) {
        Lanes left[K];
        for (int a = 0; a < K; ++a) left[a] = load(v + a * rows + i);
        for (int j = 0; j < J; ++j) {
            Lanes right = load(b + j * rows + i);
            for (int a = 0; a < K; ++a) right -= left[a] * w[a * J + j];
            store(b + j * rows + i, right);
        }
    }
}

/// Reflector that clears column 0 of the block below R(0, 0), applied to the J columns after it.
/// `triangle` points at R(0, 0) in a triangle of the given leading dimension. Returns its factor.
template <int J>
inline double reflect(int64_t rows, double* block, double* triangle, int64_t ld) {
    double products[J + 1];
    dotProducts<1, J + 1>(rows, block, block, products);
    // Squares of less than 1e-145, which callers see to be nothing beside the column's length: the
    // reflector would not be orthogonal.
    if (products[0] < 1e-290) return 0.0;
    const double alpha = triangle[0];
    const double length = __builtin_sqrt(alpha * alpha + products[0]);
    const double beta = alpha > 0.0 ? -length : length;
    const double factor = (beta - alpha) / beta;
    const double scale = 1.0 / (alpha - beta);
    triangle[0] = beta;
    double w[J + 1];
    for (int j = 0; j < J; ++j) {
        w[j] = factor * (triangle[(j + 1) * ld] + scale * products[j + 1]);
        triangle[(j + 1) * ld] -= w[j];
    }
    for (int64_t i = 0; i < rows; i += kLanes) {
        const Lanes direction = load(block + i) * scale;
        store(block + i, direction);
        for (int j = 0; j < J; ++j) {
            double* place = block + (j + 1) * rows + i;
            store(place, load(place) - direction * w[j]);
        }
    }
    return factor;
}

/// Column `column` of the panel's triangular factor t (4 × 4, column-major):
/// H₀H₁H₂H₃ = I − V T Vᵀ (Schreiber and Van Loan 1989).
template <int Column>
inline void completeFactor(int64_t rows, const double* v, double factor, double* t) {
    t[Column * kPanel + Column] = factor;
    if constexpr (Column > 0) {
        double products[Column];
        dotProducts<Column, 1>(rows, v, v + Column * rows, products);
        for (int i = 0; i < Column; ++i) {
            double sum = 0.0;
            for (int k = i; k < Column; ++k) sum += t[k * kPanel + i] * products[k];
            t[Column * kPanel + i] = -factor * sum;
        }
    }
}

/// Applies a panel's reflectors, transposed or not, to J columns: four rows of `top` and `bottom`.
template <int J>
inline void applyPanel(int64_t rows, const double* v, const double* t, bool transpose, double* top,
                       int64_t ldTop, double* bottom) {
    double w[kPanel * J];
    dotProducts<kPanel, J>(rows, v, bottom, w);
    double y[kPanel * J];
    for (int j = 0; j < J; ++j) {
        for (int a = 0; a < kPanel; ++a) w[a * J + j] += top[a + j * ldTop];
        for (int a = 0; a < kPanel; ++a) {
            double sum = 0.0;
            const int first = transpose ? 0 : a;
            const int last = transpose ? a : kPanel - 1;
            for (int k = first; k <= last; ++k) {
                sum += (transpose ? t[a * kPanel + k] : t[k * kPanel + a]) * w[k * J + j];
            }
            y[a * J + j] = sum;
            top[a + j * ldTop] -= sum;
        }
    }
    subtractCombinations<kPanel, J>(rows, v, y, bottom);
}

/// Applies a panel to any number of columns; three at a time fill the registers.
inline void applyPanelToAll(int64_t rows, const double* v, const double* t, bool transpose,
                            int64_t count, double* top, int64_t ldTop, double* bottom) {
    int64_t j = 0;
    for (; j + 3 <= count; j += 3) {
        applyPanel<3>(rows, v, t, transpose, top + j * ldTop, ldTop, bottom + j * rows);
    }
    for (; j < count; ++j) {
        applyPanel<1>(rows, v, t, transpose, top + j * ldTop, ldTop, bottom + j * rows);
    }
}

void fold(int64_t rows, int64_t columns, double* block, double* triangle, double* factors) {
    for (int64_t k = 0; k < columns; k += kPanel) {
        double* v = block + k * rows;
        double* r = triangle + k + k * columns;
        double* t = factors + k * kPanel;
        const double factor0 = reflect<3>(rows, v, r, columns);
        const double factor1 = reflect<2>(rows, v + rows, r + 1 + columns, columns);
        const double factor2 = reflect<1>(rows, v + 2 * rows, r + 2 * (1 + columns), columns);
        const double factor3 = reflect<0>(rows, v + 3 * rows, r + 3 * (1 + columns), columns);
        for (int i = 0; i < kPanel * kPanel; ++i) t[i] = 0.0;
        completeFactor<0>(rows, v, factor0, t);
        completeFactor<1>(rows, v, factor1, t);
        completeFactor<2>(rows, v, factor2, t);
        completeFactor<3>(rows, v, factor3, t);
        applyPanelToAll(rows, v, t, true, columns - k - kPanel, r + kPanel * columns, columns,
                        v + kPanel * rows);
    }
}

void apply(int64_t rows, int64_t columns, const double* reflectors, const double* factors,
           bool transpose, int64_t count, double* top, int64_t ldTop, double* bottom) {
    for (int64_t step = 0; step < columns; step += kPanel) {
        const int64_t k = transpose ? step : columns - kPanel - step;
        applyPanelToAll(rows, reflectors + k * rows, factors + k * kPanel, transpose, count,
                        top + k, ldTop, bottom);
    }
}

/// Row norms for J columns of T, two registers of rows at a time.
template <int J>
inline void addRowNormsOf(int64_t rows, int64_t used, const double* block, const double* t,
                          int64_t ldT, double* norms) {
    for (int64_t i = 0; i < rows; i += 2 * kLanes) {
        Lanes low[J];
        Lanes high[J];
        for (int j = 0; j < J; ++j) low[j] = high[j] = Lanes{};
        for (int64_t k = 0; k < used; ++k) {
            const Lanes lowRows = load(block + k * rows + i);
            const Lanes highRows = load(block + k * rows + i + kLanes);
            for (int j = 0; j < J; ++j) {
                low[j] += lowRows * t[k + j * ldT];
                high[j] += highRows * t[k + j * ldT];
            }
        }
        Lanes lowNorms = load(norms + i);
        Lanes highNorms = load(norms + i + kLanes);
        for (int j = 0; j < J; ++j) {
            lowNorms += low[j] * low[j];
            highNorms += high[j] * high[j];
        }
        store(norms + i, lowNorms);
        store(norms + i + kLanes, highNorms);
    }
}

void addRowNorms(int64_t rows, int64_t used, const double* block, const double* t, int64_t ldT,
                 int64_t width, double* norms) {
    constexpr int kTogether = 6;
    int64_t j = 0;
    for (; j + kTogether <= width; j += kTogether) {
        addRowNormsOf<kTogether>(rows, used, block, t + j * ldT, ldT, norms);
    }
    for (; j < width; ++j) addRowNormsOf<1>(rows, used, block, t + j * ldT, ldT, norms);
}

/// sum + rest += value without loss (Knuth's two-sum).
inline void addExactly(double value, double& sum, double& rest) {
    const double next = sum + value;
    const double part = next - sum;
    rest += (sum - (next - part)) + (value - part);
    sum = next;
}

/// sum + rest += a · b, the product's own rounding included.
inline void addProduct(double a, double b, double& sum, double& rest) {
    const double product = a * b;
    rest += __builtin_fma(a, b, -product);
    addExactly(product, sum, rest);
}

/// (sum + rest) · factor² in place.
inline void multiplyBySquare(double factor, double& sum, double& rest) {
    for (int k = 0; k < 2; ++k) {
        const double product = sum * factor;
        rest = rest * factor + __builtin_fma(sum, factor, -product);
        sum = product;
    }
}

void addNormalResidual(int64_t rows, int64_t columns, const double* block, const double* y,
                       const double* factors, const double* x, double* work, double* sums,
                       double* rests) {
    double* residual = work;
    double* rest = work + rows;
    for (int64_t i = 0; i < rows; ++i) {
        residual[i] = y[i];
        rest[i] = 0.0;
    }
    for (int64_t j = 0; j < columns; ++j) {
        const double* column = block + j * rows;
        const double coefficient = -x[j];
        for (int64_t i = 0; i < rows; ++i) {
            addProduct(column[i], coefficient, residual[i], rest[i]);
        }
    }
    if (factors != nullptr) {
        for (int64_t i = 0; i < rows; ++i) multiplyBySquare(factors[i], residual[i], rest[i]);
    }
    for (int64_t j = 0; j < columns; ++j) {
        const double* column = block + j * rows;
        for (int64_t i = 0; i < rows; ++i) {
            rests[j] += column[i] * rest[i];
            addProduct(column[i], residual[i], sums[j], rests[j]);
        }
    }
}

double largestMagnitude(int64_t n, const double* values) {
    LaneBits largest = {};
    for (int64_t i = 0; i < n; i += kLanes) {
        const LaneBits bits = magnitudeBits(load(values + i));
        largest = bits > largest ? bits : largest;
    }
    int64_t result = 0;
    for (int64_t k = 0; k < kLanes; ++k) result = largest[k] > result ? largest[k] : result;
    double magnitude = 0.0;
    __builtin_memcpy(&magnitude, &result, sizeof magnitude);
    return magnitude;
}

}  // namespace

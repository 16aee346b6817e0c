#pragma once

// See LanesImpl.h for the rules.

#include "support/kernels/CrossProducts.h"
#include "support/kernels/LanesImpl.h"

namespace {

constexpr int kTall = static_cast<int>(Veltrix::Kernels::kTileRows);
constexpr int kWide = static_cast<int>(Veltrix::Kernels::kTileCols);

/// products += Σ coefficients[j] x[j] for J columns.
template <int J>
inline void addCombination(int64_t rows, const double* const* x, const double* coefficients,
                           double* products) {
    const double* columns[J];
    for (int j = 0; j < J; ++j) columns[j] = x[j];
    int64_t i = 0;
    for (; i + kLanes <= rows; i += kLanes) {
        Lanes sum = load(products + i);
        for (int j = 0; j < J; ++j) sum += load(columns[j] + i) * coefficients[j];
        store(products + i, sum);
    }
    for (; i < rows; ++i) {
        for (int j = 0; j < J; ++j) products[i] += columns[j][i] * coefficients[j];
    }
}

void combine(int64_t rows, int64_t columns, const double* const* x, const double* coefficients,
             double* products) {
    for (int64_t i = 0; i < rows; ++i) products[i] = 0.0;
    int64_t j = 0;
    for (; j + 4 <= columns; j += 4) addCombination<4>(rows, x + j, coefficients + j, products);
    for (; j < columns; ++j) addCombination<1>(rows, x + j, coefficients + j, products);
}

void addProducts(int64_t rows, int64_t columns, const double* const* x, const double* y,
                 double* sums) {
    for (int64_t j = 0; j < columns; ++j) {
        const double* column = x[j];
        Lanes sum = {};
        int64_t i = 0;
        for (; i + kLanes <= rows; i += kLanes) sum += load(column + i) * load(y + i);
        double rest = 0.0;
        for (; i < rows; ++i) rest += column[i] * y[i];
        sums[j] += total(sum) + rest;
    }
}

inline void weigh(int64_t rows, const double* column, const double* weights, double* weighted) {
    int64_t i = 0;
    for (; i + kLanes <= rows; i += kLanes)
        store(weighted + i, load(weights + i) * load(column + i));
    for (; i < rows; ++i) weighted[i] = weights[i] * column[i];
}

/// The product of a tile's columns x with the columns of `scratch`.
inline void addTile(int64_t rows, const double* const* x, const double* scratch, double* c,
                    int64_t ldc) {
    Lanes sums[kTall * kWide];
    for (Lanes& sum : sums) sum = Lanes{};
    const double* columns[kTall];
    for (int a = 0; a < kTall; ++a) columns[a] = x[a];
    int64_t i = 0;
    for (; i + kLanes <= rows; i += kLanes) {
        Lanes right[kWide];
        for (int b = 0; b < kWide; ++b) right[b] = load(scratch + b * rows + i);
        for (int a = 0; a < kTall; ++a) {
            const Lanes left = load(columns[a] + i);
            for (int b = 0; b < kWide; ++b) sums[a * kWide + b] += left * right[b];
        }
    }
    for (int a = 0; a < kTall; ++a) {
        for (int b = 0; b < kWide; ++b) {
            double rest = 0.0;
            for (int64_t k = i; k < rows; ++k) rest += columns[a][k] * scratch[b * rows + k];
            c[a + b * ldc] += total(sums[a * kWide + b]) + rest;
        }
    }
}

void addCrossProduct(int64_t rows, int64_t columns, const double* const* x, const double* weights,
                     double* c, int64_t ldc, double* scratch) {
    for (int64_t k = 0; k < columns; k += kWide) {
        for (int b = 0; b < kWide; ++b) weigh(rows, x[k + b], weights, scratch + b * rows);
        for (int64_t j = 0; j < columns && j < k + kWide; j += kTall) {
            addTile(rows, x + j, scratch, c + j + k * ldc, ldc);
        }
    }
}

}  // namespace

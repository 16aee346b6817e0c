#include "support/VectorMath.h"

#if defined(VELTRIX_BLAS_MKL)
#include <mkl.h>
#else
#include <sleef.h>
#endif

#include <immintrin.h>

#include <algorithm>
#include <cmath>

namespace Veltrix::Support {

namespace {

#if defined(VELTRIX_BLAS_MKL)

/// Highest accuracy, gradual underflow, no error handler: independent of the library's global mode.
constexpr MKL_INT64 kMode = VML_HA | VML_FTZDAZ_OFF | VML_ERRMODE_IGNORE;
/// The library's lengths are 32-bit.
constexpr std::int64_t kChunk = std::int64_t{1} << 30;

using Kernel = void (*)(const MKL_INT, const double*, double*, MKL_INT64);

void apply(Kernel kernel, const double* x, double* result, std::int64_t n) {
    for (std::int64_t start = 0; start < n; start += kChunk) {
        kernel(static_cast<MKL_INT>(std::min(kChunk, n - start)), x + start, result + start, kMode);
    }
}

constexpr Kernel kLn = vmdLn;
constexpr Kernel kExp = vmdExp;
constexpr Kernel kTanh = vmdTanh;

#else

// The header shows the AVX2 functions only to files compiled for AVX2, which this one must not be.
extern "C" {
__attribute__((target("avx2,fma"))) __m256d Sleef_logd4_u10avx2(__m256d);
__attribute__((target("avx2,fma"))) __m256d Sleef_expd4_u10avx2(__m256d);
__attribute__((target("avx2,fma"))) __m256d Sleef_tanhd4_u10avx2(__m256d);
}

/// One function in two widths; the processor at run time chooses.
struct Kernel {
    __m256d (*avx2)(__m256d);
    __m128d (*sse2)(__m128d);
};

/// The library gives infinity from here on, 1.8e-9 below the logarithm of the largest double.
constexpr double kExpLimit = 709.78271114955742;

/// Exponentials of what lies beyond the library's limit.
template <int Lanes>
void mendExp(const double (&x)[Lanes], double (&result)[Lanes]) {
    for (int i = 0; i < Lanes; ++i) {
        if (x[i] >= kExpLimit) result[i] = std::exp(x[i]);
    }
}

__attribute__((target("avx2,fma"))) __m256d expAvx2(__m256d x) {
    const __m256d result = Sleef_expd4_u10avx2(x);
    const __m256d beyond = _mm256_cmp_pd(x, _mm256_set1_pd(kExpLimit), _CMP_GE_OQ);
    if (_mm256_movemask_pd(beyond) == 0) return result;
    double arguments[4];
    double values[4];
    _mm256_storeu_pd(arguments, x);
    _mm256_storeu_pd(values, result);
    mendExp(arguments, values);
    return _mm256_loadu_pd(values);
}

__m128d expSse2(__m128d x) {
    const __m128d result = Sleef_expd2_u10sse2(x);
    if (_mm_movemask_pd(_mm_cmpge_pd(x, _mm_set1_pd(kExpLimit))) == 0) return result;
    double arguments[2];
    double values[2];
    _mm_storeu_pd(arguments, x);
    _mm_storeu_pd(values, result);
    mendExp(arguments, values);
    return _mm_loadu_pd(values);
}

/// A function of the library without the const of its result.
template <auto Function>
__m128d plain(__m128d x) {
    return Function(x);
}

constexpr Kernel kLn{Sleef_logd4_u10avx2, plain<Sleef_logd2_u10sse2>};
constexpr Kernel kExp{expAvx2, expSse2};
constexpr Kernel kTanh{Sleef_tanhd4_u10avx2, plain<Sleef_tanhd2_u10sse2>};

// What is left at the end goes through the same kernel in a padded buffer, so that an element gets
// the same bits wherever it stands.

__attribute__((target("avx2,fma"))) void applyAvx2(decltype(Kernel::avx2) kernel, const double* x,
                                                   double* result, std::int64_t n) {
    std::int64_t i = 0;
    for (; i + 4 <= n; i += 4) _mm256_storeu_pd(result + i, kernel(_mm256_loadu_pd(x + i)));
    if (i == n) return;
    double rest[4] = {1.0, 1.0, 1.0, 1.0};
    for (std::int64_t j = i; j < n; ++j) rest[j - i] = x[j];
    _mm256_storeu_pd(rest, kernel(_mm256_loadu_pd(rest)));
    for (std::int64_t j = i; j < n; ++j) result[j] = rest[j - i];
}

void applySse2(decltype(Kernel::sse2) kernel, const double* x, double* result, std::int64_t n) {
    std::int64_t i = 0;
    for (; i + 2 <= n; i += 2) _mm_storeu_pd(result + i, kernel(_mm_loadu_pd(x + i)));
    if (i < n) _mm_store_sd(result + i, kernel(_mm_set_pd(1.0, x[i])));
}

void apply(const Kernel& kernel, const double* x, double* result, std::int64_t n) {
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
        applyAvx2(kernel.avx2, x, result, n);
    } else {
        applySse2(kernel.sse2, x, result, n);
    }
}

#endif

}  // namespace

void ln(const double* x, double* result, std::int64_t n) { apply(kLn, x, result, n); }

void exp(const double* x, double* result, std::int64_t n) { apply(kExp, x, result, n); }

void tanh(const double* x, double* result, std::int64_t n) { apply(kTanh, x, result, n); }

// With e = exp(-|x|), which cannot overflow: 1/(1 + e) for x >= 0, e/(1 + e) below. In blocks that
// stay in the first-level cache, as x may be overwritten by the result.
void sigmoid(const double* x, double* result, std::int64_t n) {
    constexpr std::int64_t kBlock = 512;
    double e[kBlock];
    for (std::int64_t start = 0; start < n; start += kBlock) {
        const std::int64_t count = std::min(kBlock, n - start);
        const double* const from = x + start;
        double* const to = result + start;
        for (std::int64_t i = 0; i < count; ++i) e[i] = -std::fabs(from[i]);
        exp(e, e, count);
        for (std::int64_t i = 0; i < count; ++i) {
            const double numerator = from[i] < 0.0 ? e[i] : 1.0;
            to[i] = numerator / (1.0 + e[i]);
        }
    }
}

void sqrt(const double* x, double* result, std::int64_t n) {
    // The instruction rounds exactly, which MKL's function does not promise.
    std::int64_t i = 0;
    for (; i + 2 <= n; i += 2) _mm_storeu_pd(result + i, _mm_sqrt_pd(_mm_loadu_pd(x + i)));
    if (i < n) result[i] = std::sqrt(x[i]);
}

// Addition rounds exactly everywhere and is bound by memory: the compiler's own loop is as good as
// any library's.
void add(const double* x, const double* y, double* result, std::int64_t n) {
    for (std::int64_t i = 0; i < n; ++i) result[i] = x[i] + y[i];
}

}  // namespace Veltrix::Support

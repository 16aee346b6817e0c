#include "support/BlasWorkspace.h"

#if defined(VELTRIX_BLAS_OPENBLAS) && !defined(_WIN32)
#include <cblas.h>
#include <sys/mman.h>

#include <cstddef>
#include <new>
#endif

namespace Veltrix::Support {

#if defined(VELTRIX_BLAS_OPENBLAS) && !defined(_WIN32)

namespace {

/// Of one thread, on every common processor; the library does not tell.
constexpr std::size_t kWorkspace = std::size_t{128} << 20U;

bool canMap(std::size_t size, int protection) noexcept {
    void* const place = ::mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) return false;
    ::munmap(place, size);
    return true;
}

}  // namespace

bool roomForBlasThreads() noexcept {
    const int threads = openblas_get_num_threads();
    // One more than there are: another thread may hold its own by now or not.
    return threads <= 1 || canMap((static_cast<std::size_t>(threads) + 1) * kWorkspace, PROT_NONE);
}

void takeBlasWorkspace() {
    if (!canMap(kWorkspace, PROT_READ | PROT_WRITE)) throw std::bad_alloc();
    // Products of small matrices may do without, this routine does not.
    const double one = 1.0;
    double square = 0.0;
    cblas_dsyrk(CblasColMajor, CblasLower, CblasNoTrans, 1, 1, 1.0, &one, 1, 0.0, &square, 1);
}

#else

bool roomForBlasThreads() noexcept { return true; }

void takeBlasWorkspace() {}

#endif

}  // namespace Veltrix::Support

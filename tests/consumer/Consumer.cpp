// A host that fits a line through points of y = 1 + 2x and checks what comes back. Headers and
// package must be of one version.

#include <cmath>
#include <cstdio>

#include <string_view>

#include "Veltrix/Veltrix.h"

static_assert(std::string_view(VELTRIX_VERSION_STRING) == PACKAGE_VERSION);
static_assert(VELTRIX_VERSION / 10000 == VELTRIX_VERSION_MAJOR);

int main() {
    Veltrix::Matrix x(4, 1);
    Veltrix::Vector y(4);
    for (int i = 0; i < 4; ++i) {
        x(i, 0) = i;
        y[i] = 1.0 + 2.0 * i;
    }
    Veltrix::Engine::LinearModel::OLS::Model model;
    model.fit(x, y, true);

    Veltrix::Matrix next(1, 1);
    next(0, 0) = 10.0;
    const double predicted = model.predict(next)[0];
    const double r2 = model.computeFitEvaluation(y).R2;
    std::printf("prediction at 10: %g, R2: %g\n", predicted, r2);
    return std::abs(predicted - 21.0) < 1e-10 && std::abs(r2 - 1.0) < 1e-12 ? 0 : 1;
}

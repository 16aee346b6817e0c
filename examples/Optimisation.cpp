// Fits an exponential decay a·exp(-b·t) by least squares: a model that derives from the optimiser
// and supplies its objective.
#include <cmath>
#include <cstdio>

#include "Veltrix/Veltrix.h"

namespace {

using Veltrix::Vector;

class Decay : public Veltrix::Engine::Optimization::QuasiNewtonOptimizer {
  public:
    Decay(Vector times, Vector values) : times_(std::move(times)), values_(std::move(values)) {}

    double function(const Vector& x) override {
        double sum = 0.0;
        for (std::uint64_t i = 0; i < times_.size(); ++i) {
            const double residual = values_[i] - x[0] * std::exp(-x[1] * times_[i]);
            sum += residual * residual;
        }
        return sum;
    }

  private:
    Vector times_;
    Vector values_;
};

}  // namespace

int main() {
    Decay decay(Vector{0, 1, 2, 3, 4, 5}, Vector{10.1, 6.0, 3.7, 2.2, 1.4, 0.8});
    const Vector solution = decay.minimize(Vector{1.0, 0.1});
    std::printf("a = %.4f, b = %.4f after %d iterations, sum of squares %.5f\n", solution[0],
                solution[1], decay.getNumIterations(), decay.function(solution));
}

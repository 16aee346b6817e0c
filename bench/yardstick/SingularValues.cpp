#include <memory>

#include "Veltrix/Data/Util.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

/// The decomposition with its factors, of which the first value and that of number `last` are read.
template <class Decompose>
Setup decomposition(Decompose decompose, std::uint64_t last) {
    return [=](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("svd_x.f64"));
        return [=]() -> std::function<Check()> {
            auto svd = std::make_shared<SVD>(decompose(*x));
            return [=] {
                const Vector& values = svd->getSingularValues();
                return Check{{"s1", values[0]}, {"s" + std::to_string(last), values[last - 1]}};
            };
        };
    };
}

}  // namespace

void addSingularValues(std::map<std::string, Setup>& all) {
    all["15c_svd"] = decomposition([](const Matrix& x) { return Util::svd(x); }, 100);
    all["15c_svd_50"] = decomposition([](const Matrix& x) { return Util::svd(x, 50); }, 50);
}

}  // namespace Veltrix::Yardstick

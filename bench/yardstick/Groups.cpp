#include <cmath>
#include <memory>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/DA.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

/// Share of records whose most probable group is the true one.
double accuracy(const Matrix& posteriors, const IntVector& truth) {
    double right = 0.0;
    for (int i = 0; i < posteriors.getNumRows(); ++i) {
        const int best = Util::maxIndex(posteriors(i, Util::all));
        if (best == truth[static_cast<std::uint64_t>(i)]) ++right;
    }
    return right / posteriors.getNumRows();
}

Setup discriminant(bool quadratic) {
    return [quadratic](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrixByRows("groups_x.f64"));
        auto groups = std::make_shared<IntVector>(store.integers("groups_y.i32"));
        return [=]() -> std::function<Check()> {
            Engine::DA::Model model;
            model.setQuadratic(quadratic).fit(*x, *groups);
            auto posteriors = std::make_shared<Matrix>(model.posteriorProbability(*x));
            return [=] { return Check{{"accuracy", accuracy(*posteriors, *groups)}}; };
        };
    };
}

}  // namespace

void addGroups(std::map<std::string, Setup>& all) {
    all["03a_lda"] = discriminant(false);
    all["03b_qda"] = discriminant(true);
}

}  // namespace Veltrix::Yardstick

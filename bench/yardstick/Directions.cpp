#include <cmath>
#include <memory>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/CVA.h"
#include "Veltrix/Engine/DA.h"
#include "Veltrix/Engine/PCA.h"
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

/// As the others do: the mean of the scores' absolute values.
Check sizeOfScores(const Matrix& scores) {
    double sum = 0.0;
    for (const double score : scores.getAsDoubleVector()) sum += std::fabs(score);
    const double size = static_cast<double>(scores.getNumRows()) * scores.getNumCols();
    return {{"abs_mean", sum / size}, {"variates", scores.getNumCols()}};
}

Run variates(const Store& store) {
    auto x = std::make_shared<Matrix>(store.matrixByRows("groups_x.f64"));
    auto classes = std::make_shared<IntVector>(store.integers("groups_y.i32"));
    return [=]() -> std::function<Check()> {
        Engine::CVA::Model model;
        auto scores = std::make_shared<Matrix>(model.fit(*x, *classes).transform(*x));
        return [=] { return sizeOfScores(*scores); };
    };
}

Setup components(const char* file) {
    return [file](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix(file));
        return [=]() -> std::function<Check()> {
            auto model = std::make_shared<Engine::PCA::Model>();
            auto scores = std::make_shared<Matrix>(model->fit(*x).transform(*x, 10));
            return [=] {
                const Vector& eigenvalues = model->getEigenvalues();
                return Check{{"lambda1", eigenvalues[0]},
                             {"lambda10", eigenvalues[9]},
                             {"rows", scores->getNumRows()}};
            };
        };
    };
}

}  // namespace

void addDirections(std::map<std::string, Setup>& all) {
    all["03a_lda"] = discriminant(false);
    all["03b_qda"] = discriminant(true);
    all["11_cva"] = variates;
    all["10a_pca"] = components("pca_x.f64");
    all["10b_pca_big"] = components("pca_big_x.f64");
}

}  // namespace Veltrix::Yardstick

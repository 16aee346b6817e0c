#include <memory>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KNN.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

StringVector toLabels(const IntVector& classes) {
    StringVector labels;
    for (const int each : classes) labels.push_back(Convert::toString(each));
    return labels;
}

/// Share of records whose most probable class is the true one.
double accuracy(const Matrix& posteriors, const IntVector& truth) {
    double right = 0.0;
    for (int i = 0; i < posteriors.getNumRows(); ++i) {
        const int best = Util::maxIndex(posteriors(i, Util::all));
        if (best == truth[static_cast<std::uint64_t>(i)]) ++right;
    }
    return right / posteriors.getNumRows();
}

}  // namespace

void addNearestNeighbours(std::map<std::string, Setup>& all) {
    all["04_knn"] = [](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("knn_train_x.f64"));
        auto labels = std::make_shared<StringVector>(toLabels(store.integers("knn_train_y.i32")));
        auto queries = std::make_shared<Matrix>(store.matrix("knn_query_x.f64"));
        auto truth = std::make_shared<IntVector>(store.integers("knn_query_y.i32"));
        return [=]() -> std::function<Check()> {
            Engine::Classification::KNN::Model model;
            model.fit(*x, *labels);
            auto posteriors = std::make_shared<DataFrame>(model.posteriorProbability(
                *queries, 10, false, false, KNearestNeighbors::WeightingScheme::equalVotes));
            return [posteriors, truth] {
                return Check{{"accuracy", accuracy(Convert::toMatrix(*posteriors), *truth)}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

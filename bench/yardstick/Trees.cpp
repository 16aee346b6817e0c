#include <algorithm>
#include <limits>
#include <memory>
#include <string>

#include "Veltrix/Engine/DT.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

namespace DT = Engine::DT;

DT::Params fullGrowth() {
    constexpr int kNoLimit = std::numeric_limits<int>::max();
    DT::Params params;
    params.maxSplits = kNoLimit;
    params.maxLevels = kNoLimit;
    params.maxNodes = kNoLimit;
    params.minRecords = 5;
    return params;
}

Check sizeOf(const DT::Model& model) {
    int depth = 0;
    for (const auto& node : model.getNodes()) depth = std::max(depth, node->depth);
    return {{"leaves", model.getNumLeaves()}, {"depth", depth}};
}

/// A response of numbers, or of class codes.
Vector response(const Store& store, const std::string& file) {
    if (!file.ends_with(".i32")) return store.vector(file);
    const IntVector codes = store.integers(file);
    return {codes.begin(), codes.end()};
}

/// Growth; with `path` also the pruning sequence, for which one record is enough to validate.
template <class Model>
Setup growTree(const char* file, bool path) {
    return [file, path](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("tree_x.f64"));
        auto y = std::make_shared<Vector>(response(store, file));
        auto first = std::make_shared<Matrix>((*x)(IntVector{0}, Selection::all));
        return [=]() -> std::function<Check()> {
            auto model = std::make_shared<Model>(fullGrowth());
            model->fit(*x, *y);
            if (!path) return [model] { return sizeOf(*model); };
            model->prune(*first, Vector{(*y)[0]});
            return [model] {
                return Check{{"trees", model->getPruning().numTrees()},
                             {"leaves", model->getNumLeaves()}};
            };
        };
    };
}

}  // namespace

void addTrees(std::map<std::string, Setup>& all) {
    all["06a_ctree"] = growTree<DT::Classification::Model>("tree_yc.i32", false);
    all["06b_ctree_path"] = growTree<DT::Classification::Model>("tree_yc.i32", true);
    all["06c_rtree"] = growTree<DT::Regression::Model>("tree_yr.f64", false);
    all["06d_rtree_path"] = growTree<DT::Regression::Model>("tree_yr.f64", true);
}

}  // namespace Veltrix::Yardstick

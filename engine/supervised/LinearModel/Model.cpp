#include "Veltrix/Engine/LinearModel/Model.h"

#include <utility>

#include "Veltrix/Data/Decompositions.h"
#include "engine/supervised/LinearModel/Collinearity.h"

namespace Veltrix::Engine::LinearModel {

Model::~Model() = default;

Model& Model::operator=(const Model& other) {
    Solution solution = other.solution_;
    Weightable::operator=(other);
    solution_ = std::move(solution);
    return *this;
}

Model& Model::operator=(Model&& other) noexcept {
    Solution solution = std::exchange(other.solution_, {});
    Weightable::operator=(std::move(other));
    solution_ = std::move(solution);
    return *this;
}

Model& Model::setWeights(const Vector& weights) {
    Weightable::setWeights(weights);
    return *this;
}

Model& Model::normalizeWeights() {
    Weightable::normalizeWeights();
    return *this;
}

bool Model::rankDeficient() const {
    return solution_.fitted &&
           static_cast<std::uint64_t>(solution_.rank) < solution_.coefficients.size();
}

Multicollinearity Model::multicollinearity(const Matrix& x) {
    return collinearityDiagnostics(triangularise({x}));
}

}  // namespace Veltrix::Engine::LinearModel

#include "Veltrix/Engine/LinearModel/Model.h"

#include "Veltrix/Data/Decompositions.h"
#include "engine/supervised/LinearModel/Collinearity.h"

namespace Veltrix::Engine::LinearModel {

Model::~Model() = default;

Model& Model::setWeights(const Vector& weights) {
    Weightable::setWeights(weights);
    return *this;
}

Model& Model::normalizeWeights() {
    Weightable::normalizeWeights();
    return *this;
}

bool Model::rankDeficient() const {
    return fitted_ && static_cast<std::uint64_t>(rank_) < coefficients_.size();
}

Multicollinearity Model::multicollinearity(const Matrix& x) {
    return collinearityDiagnostics(triangularise({x}));
}

}  // namespace Veltrix::Engine::LinearModel

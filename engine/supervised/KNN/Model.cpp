#include "Veltrix/Engine/KNN.h"

namespace Veltrix::Engine::KNN {

Model::~Model() = default;

Model& Model::setTrainingFeatures(const Matrix& x) {
    features_ = x;
    columns_ = {};
    return *this;
}

const Matrix& Model::getTrainingFeatures() const { return features_; }

Model& Model::setWeights(const Vector& weights) {
    Weightable::setWeights(weights);
    return *this;
}

}  // namespace Veltrix::Engine::KNN

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "Veltrix/Engine/DT.h"
#include "engine/supervised/DT/Drawing.h"
#include "engine/supervised/DT/FrameCoding.h"
#include "engine/supervised/DT/Growth.h"
#include "engine/supervised/DT/NumberTarget.h"

namespace Veltrix::Engine::DT::Regression {

Model::~Model() = default;

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

void Model::grow(const Features& features, const Vector& response, const IntVector& categorical,
                 InputColumns inputs) {
    checkShape(features.numRows(), features.numCols(), response.size());
    checkResponse("Tree fit", response);
    Growth growth(features, readCategories(features, categorical), params_, NumberTarget(response));
    Model fitted(params_);  // so that a failure leaves this model as it is
    fitted.adopt(growth.run(), std::move(inputs));
    *this = std::move(fitted);
}

Model& Model::fit(const DataFrame& features, const ConstDataFrameColumn& response) {
    const InputColumns inputs = learnColumns(features, params_.categorical);
    const IntVector categorical = knownColumns(features, inputs.categories);
    grow(FrameFeatures(features, inputs.categories), response.toDoubleVector(), categorical,
         inputs);
    return *this;
}

Model& Model::fit(const Matrix& features, const Vector& response) {
    grow(MatrixFeatures(features), response, params_.categorical, {{}, {}, colNames_});
    return *this;
}

Model& Model::prune(const DataFrame& features, const ConstDataFrameColumn& response) {
    checkColumns("Tree prune", features.getNumCols());
    prune(encodeFrame(features, frameColumns_, inputs_), response.toDoubleVector());
    return *this;
}

Model& Model::select(int index) {
    DT::Model::select(index);
    return *this;
}

Model& Model::select(DecisionTree::TreeType type) {
    DT::Model::select(type);
    return *this;
}

Model& Model::selectManual(int maxDecisionNodes) {
    DT::Model::selectManual(maxDecisionNodes);
    return *this;
}

Model& Model::setParams(const Params& params) {
    DT::Model::setParams(params);
    return *this;
}

Model& Model::setColNames(const StringVector& names) {
    DT::Model::setColNames(names);
    return *this;
}

Vector Model::predictionsAt(const std::vector<const Node*>& nodes) const {
    Vector result(nodes.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        if (nodes[k] != nullptr) result[k] = nodes[k]->label;
    }
    return result;
}

Vector Model::predict(const DataFrame& records) const { return predictionsAt(findLeaves(records)); }
Vector Model::predict(const Matrix& records) const { return predictionsAt(findLeaves(records)); }

double Model::predictionError(double prediction, double actual) const {
    return (prediction - actual) * (prediction - actual);
}

double Model::computeStdDevMinError() const {
    return std::sqrt(pruning_.minError() / pruning_.numValidationRecords);
}

WString Model::describeLabel(const Node& node) const { return roundedText(node.label); }

}  // namespace Veltrix::Engine::DT::Regression

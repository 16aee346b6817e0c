#include "Veltrix/Engine/NeuralNetwork/Model.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "data/containers/Lines.h"
#include "engine/core/Checks.h"
#include "engine/supervised/NeuralNetwork/MiniBatches.h"
#include "engine/supervised/NeuralNetwork/Trainer.h"
#include "engine/supervised/NeuralNetwork/Values.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::NeuralNetwork {
namespace {

constexpr const char* kNetwork = "Neural network";
constexpr const char* kFit = "Neural network fit";

void checkFigure(const char* what, double value) {
    if (value >= 0.0) return;
    Checks::fail(
        ErrorCode::invalidArgument, kFit,
        std::string(what) + " " + Support::numberText(value) + ", a number of at least 0 expected");
}

/// "OPERATION: records of 3 inputs, 4 expected as layer 0 has".
void checkUnits(const char* operation, const char* what, int found, int expected, int layer) {
    if (found == expected) return;
    Checks::fail(ErrorCode::sizeMismatch, operation,
                 "records of " + std::to_string(found) + " " + what + ", " +
                     std::to_string(expected) + " expected, the size of layer " +
                     std::to_string(layer));
}

/// Records, which are columns, with the place of a value that is not finite.
void checkFinite(const char* what, const Matrix& values) {
    Checks::finite((std::string(kFit) + ", " + what).c_str(), values);
}

}  // namespace

Model::~Model() = default;

void Model::checkArchitecture(const Params::Architecture& architecture) {
    Checks::atLeast(kNetwork, "layers", architecture.getNumLayers(), 2);
    const int output = architecture.getOutputLayer();
    for (int layer = 0; layer <= output; ++layer) {
        Checks::atLeast(kNetwork, ("units in layer " + std::to_string(layer) + " of").c_str(),
                        architecture.layerSizes[layer], 1);
    }
    for (const auto& [layer, type] : architecture.activations) {
        Checks::index(kNetwork, "activation of layer", layer, output + 1);
        if (type != ActivationType::softmax || layer == 0 || layer == output) continue;
        Checks::fail(ErrorCode::invalidArgument, kNetwork,
                     "softmax on layer " + std::to_string(layer) +
                         ", which is hidden; it is for the output layer, " +
                         std::to_string(output));
    }
}

Model& Model::initialize(const Params& params) {
    checkArchitecture(params.architecture);
    Params stored = params;
    std::swap(params_, stored);
    State state = std::exchange(state_, State());
    auto activations = std::exchange(activations_, {});
    auto cost = cost_;
    try {
        setActivations();
        setCostFunction();
        initializeWeights();
        columns_ = FrameColumns();
    } catch (...) {
        std::swap(params_, stored);
        state_ = std::move(state);
        activations_ = std::move(activations);
        cost_ = std::move(cost);
        throw;
    }
    return *this;
}

void Model::setActivations() {
    for (int layer = 1; layer <= params_.architecture.getOutputLayer(); ++layer) {
        activations_.push_back(Activation::make(params_.architecture.getActivationType(layer)));
    }
}

void Model::setCostFunction() { cost_ = CostFunction::make(params_.architecture.costFunction); }

void Model::initializeWeights() {
    const IntVector& sizes = params_.architecture.layerSizes;
    const auto seed = static_cast<unsigned>(params_.training.weightSeed);
    for (int l = 1; l <= params_.architecture.getOutputLayer(); ++l) {
        const int units = sizes[l];
        const int inputs = sizes[l - 1];
        Layer layer;
        layer.weights = Veltrix::Util::gaussianMatrix(units, inputs, MatrixOrderType::columnMajor,
                                                      0.0, 1.0, seed);
        layer.weights /= std::sqrt(static_cast<double>(inputs));
        layer.weightVelocity = Matrix(units, inputs);
        layer.biases = Vector(static_cast<std::uint64_t>(units));
        layer.biasVelocity = layer.biases;
        state_.layers.push_back(std::move(layer));
    }
}

int Model::numOutputs() const noexcept {
    return state_.layers.empty() ? 0 : state_.layers.back().weights.getNumRows();
}

void Model::checkTraining(bool hasValidation) const {
    const Params::Training& training = params_.training;
    const Params::Stopping& stopping = params_.stopping;
    Checks::atLeast(kFit, "epochs", training.numEpochs, 0);
    Checks::atLeast(kFit, "records of a batch", training.batchSize, 1);
    checkFigure("learning rate", training.learningRate);
    checkFigure("weight decay", training.weightDecay);
    checkFigure("momentum", training.momentum);
    if (!(training.momentum < 1.0)) {
        Checks::fail(ErrorCode::invalidArgument, kFit,
                     "momentum " + Support::numberText(training.momentum) + ", below 1 expected");
    }
    checkFigure("cost tolerance", training.costTolerance);
    checkFigure("time limit", stopping.timeLimit);
    checkFigure("change of the cost", stopping.costChange);
    checkFigure("change of the error", stopping.errorChange);
    Checks::atLeast(kFit, "checks of patience", stopping.patience, 0);
    Veltrix::Checks::enumerator(kFit, "stopping mode", stopping.mode, 1, 4);
    if ((stopping.mode == 2 || stopping.mode == 3) && !hasValidation) {
        Checks::fail(ErrorCode::invalidArgument, kFit,
                     "no validation data, which stopping mode " + std::to_string(stopping.mode) +
                         " looks at");
    }
}

void Model::checkData(const Data& data) const {
    const int output = params_.architecture.getOutputLayer();
    Checks::atLeast(kFit, "records", data.x.getNumCols(), 1);
    checkInputs(kFit, data.x);
    checkUnits(kFit, "responses", data.y.getNumRows(), numOutputs(), output);
    Checks::onePerRecord(kFit, "responses", static_cast<std::uint64_t>(data.y.getNumCols()),
                         data.x.getNumCols());
    checkFinite("inputs in rows, records in columns", data.x);
    checkFinite("responses in rows, records in columns", data.y);
}

void Model::checkInputs(const char* operation, const Matrix& x) const {
    if (state_.layers.empty()) {
        Checks::fail(ErrorCode::notFitted, operation, "the network has no layers yet");
    }
    checkUnits(operation, "inputs", x.getNumRows(), params_.architecture.layerSizes[0], 0);
}

void Model::train(const Data& training, const Data* validation, FrameColumns columns) {
    if (state_.layers.empty()) checkArchitecture(params_.architecture);
    checkTraining(validation != nullptr);
    checkData(training);
    if (validation != nullptr) checkData(*validation);
    State before = std::exchange(state_, State());
    try {
        initializeWeights();
        state_.nullPrediction = nullPrediction(training.y);
        state_.nullError = nullError(training.y);
        Trainer(*this).run(training, validation);
    } catch (...) {
        state_ = std::move(before);
        throw;
    }
    columns_ = std::move(columns);
}

Model& Model::fit(const Matrix& x, const Matrix& y) {
    train({x, y}, nullptr, FrameColumns());
    return *this;
}

Model& Model::fit(const Matrix& x, const Matrix& y, const Matrix& xValid, const Matrix& yValid) {
    const Data validation{xValid, yValid};
    train({x, y}, &validation, FrameColumns());
    return *this;
}

Matrix Model::responsesOf(const DataFrame& y) {
    Matrix responses = Convert::toMatrix(y);
    responses.transpose();
    return responses;
}

Model& Model::fit(const DataFrame& x, const DataFrame& y) {
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix responses = responsesOf(y);
    train({inputs, responses}, nullptr, std::move(columns));
    return *this;
}

Model& Model::fit(const DataFrame& x, const DataFrame& y, const DataFrame& xValid,
                  const DataFrame& yValid) {
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix responses = responsesOf(y);
    const Matrix validInputs = inputsOf(columns, xValid);
    const Matrix validResponses = responsesOf(yValid);
    const Data validation{validInputs, validResponses};
    train({inputs, responses}, &validation, std::move(columns));
    return *this;
}

Matrix Model::inputsOf(const FrameColumns& columns, const DataFrame& x) {
    Matrix inputs = columns.toMatrix(x);
    inputs.transpose();
    return inputs;
}

Vector Model::nullPrediction(const Matrix& y) {
    Vector means;
    for (int i = 0; i < y.getNumRows(); ++i) {
        means.push_back(Veltrix::Util::sum(y(i, Veltrix::Util::all)) / y.getNumCols());
    }
    return means;
}

double Model::nullError(const Matrix& y) const {
    const Vector means = nullPrediction(y);
    // In blocks, so that no second matrix of the size of the responses is made.
    const MiniBatches blocks(y, y, kLeastBlock);
    Batch batch;
    Matrix output;
    double total = 0.0;
    for (int k = 0; k < blocks.count(); ++k) {
        blocks.load(k, batch);
        reshape(output, y.getNumRows(), batch.responses.getNumCols());
        for (int j = 0; j < output.getNumCols(); ++j) {
            std::copy(means.begin(), means.end(), output.data() + std::int64_t{j} * y.getNumRows());
        }
        total += errorTotal(output, batch.responses);
    }
    return errorOf(total, y.getNumCols());
}

double Model::dataError(const Matrix& output, const Matrix& y) const {
    Veltrix::Checks::sameShape("Network error", output, y);
    return errorOf(errorTotal(byColumns(output), byColumns(y)), y.getNumCols());
}

double Model::cost(const Matrix& output, const Matrix& y) const {
    checkUnits("Network cost", "outputs", output.getNumRows(), numOutputs(),
               params_.architecture.getOutputLayer());
    return cost_->cost(output, y);
}

const Layer& Model::layerAt(const char* operation, int layer) const {
    const auto count = static_cast<int>(state_.layers.size());
    if (layer < 1 || layer > count) {
        Checks::fail(ErrorCode::indexOutOfRange, operation,
                     "layer " + std::to_string(layer) +
                         (count == 0 ? std::string(", but the network has none")
                                     : ", 1 to " + std::to_string(count) + " expected"));
    }
    return state_.layers[static_cast<std::size_t>(layer - 1)];
}

const Matrix& Model::getWeights(int layer) const { return layerAt(kNetwork, layer).weights; }

const Vector& Model::getBiases(int layer) const { return layerAt(kNetwork, layer).biases; }

const Matrix& Model::getWeightVelocity(int layer) const {
    return layerAt(kNetwork, layer).weightVelocity;
}

const Vector& Model::getBiasVelocity(int layer) const {
    return layerAt(kNetwork, layer).biasVelocity;
}

Model& Model::setWeights(int layer, const Matrix& weights) {
    const Matrix& known = layerAt(kNetwork, layer).weights;
    Checks::shape(kNetwork, "weights", weights, known.getNumRows(), known.getNumCols());
    state_.layers[static_cast<std::size_t>(layer - 1)].weights = byColumns(weights);
    return *this;
}

Model& Model::setBiases(int layer, const Vector& biases) {
    Veltrix::Checks::counts(kNetwork, biases.size(), "biases",
                            layerAt(kNetwork, layer).biases.size(), "units");
    state_.layers[static_cast<std::size_t>(layer - 1)].biases = biases;
    return *this;
}

}  // namespace Veltrix::Engine::NeuralNetwork

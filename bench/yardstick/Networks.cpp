#include <limits>
#include <memory>

#include "Veltrix/Engine/NeuralNetwork.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

namespace NN = Engine::NeuralNetwork;

/// The moving average of the gradients is 1 - momentum times their decaying sum, which others use
/// with a rate of 0.1.
NN::Params settings() {
    NN::Params params;
    params.architecture.layerSizes = {50, 64, 5};
    params.architecture.costFunction = 3;
    params.architecture.setActivationType(1, NN::ActivationType::sigmoid);
    params.architecture.setActivationType(2, NN::ActivationType::softmax);
    params.training = {.numEpochs = 10, .batchSize = 128, .learningRate = 1.0, .momentum = 0.9};
    params.stopping = {.mode = 4, .timeLimit = std::numeric_limits<double>::infinity()};
    return params;
}

}  // namespace

void addNetworks(std::map<std::string, Setup>& all) {
    all["07_mlp"] = [](const Store& store) -> Run {
        auto x = std::make_shared<Matrix>(store.matrix("mlp_x.f64"));
        x->transpose();
        const IntVector classes = store.integers("mlp_y.i32");
        auto y = std::make_shared<Matrix>(5, x->getNumCols());
        for (int k = 0; k < x->getNumCols(); ++k) (*y)(classes[k], k) = 1.0;
        return [x, y]() -> std::function<Check()> {
            auto model = std::make_shared<NN::Classification::Model>(settings());
            model->fit(*x, *y);
            return [model, x, y] {
                return Check{{"loss", model->getLogs().epochCosts.back()},
                             {"epochs", model->getNumEpochs()},
                             {"accuracy", 1.0 - model->dataError(model->feedforward(*x), *y)}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

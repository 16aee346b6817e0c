// Learns the exclusive or, which no line can tell apart, as an embedding host would.
#include <cstdio>
#include <limits>

#include "Veltrix/Veltrix.h"

int main() {
    using namespace Veltrix;
    namespace NN = Engine::NeuralNetwork;

    NN::Params params;
    params.architecture.layerSizes = {2, 4, 2};
    params.architecture.costFunction = 3;  // log loss, for the shares of a softmax
    params.architecture.setActivationType(1, NN::ActivationType::tanh);
    params.architecture.setActivationType(2, NN::ActivationType::softmax);
    params.training = {.numEpochs = 1000,
                       .batchSize = 4,
                       .learningRate = 0.5,
                       .momentum = 0.9,
                       .costTolerance = 0.02};
    params.stopping = {.mode = 4, .timeLimit = std::numeric_limits<double>::infinity()};

    const Matrix inputs(2, 4, Vector{0, 0, 0, 1, 1, 0, 1, 1});  // a column for each record
    NN::Classification::Model model(params);
    model.fit(inputs, StringVector{L"equal", L"different", L"different", L"equal"});

    std::printf("stopped for reason %d after %d epochs at a cost of %.3f\n", model.getStopReason(),
                model.getNumEpochs(), model.getLogs().epochCosts.back());
    const Matrix posteriors = model.posteriorProbability(inputs);
    for (int k = 0; k < posteriors.getNumCols(); ++k) {
        std::printf("%.0f and %.0f: different with probability %.2f\n", inputs(0, k), inputs(1, k),
                    posteriors(0, k));
    }
}

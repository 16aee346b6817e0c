#include <algorithm>
#include <cstdint>
#include <map>

#include "Veltrix/Engine/NeuralNetwork.h"
#include "engine/core/Stored.h"

namespace Veltrix {

namespace Network = Engine::NeuralNetwork;
using Network::Params;
using Support::Length;

template <>
struct Stored<Params::Architecture> {
    static void fields(auto& a, auto& architecture) {
        a("layerSizes", architecture.layerSizes);
        a("costFunction", architecture.costFunction);
        // Of every layer, the input's too; what none is set for is the identity anyway.
        IntVector codes;
        for (int layer = 0; layer < architecture.getNumLayers(); ++layer) {
            codes.push_back(static_cast<int>(architecture.getActivationType(layer)));
        }
        a("activations", codes, Length{architecture.getNumLayers()});
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            for (int layer = 0; layer < architecture.getNumLayers(); ++layer) {
                architecture.setActivationType(layer,
                                               static_cast<Network::ActivationType>(codes[layer]));
            }
        }
    }
};

template <>
struct Stored<Params::Training> {
    static void fields(auto& a, auto& training) {
        a("numEpochs", training.numEpochs)("batchSize", training.batchSize);
        a("learningRate", training.learningRate)("weightDecay", training.weightDecay);
        a("momentum", training.momentum)("costTolerance", training.costTolerance);
        a("weightSeed", training.weightSeed)("batchMode", training.batchMode);
        a("shuffleSeed", training.shuffleSeed);
    }
};

template <>
struct Stored<Params::Stopping> {
    static void fields(auto& a, auto& stopping) {
        a("mode", stopping.mode)("patience", stopping.patience);
        a("timeLimit", stopping.timeLimit)("costChange", stopping.costChange);
        a("errorChange", stopping.errorChange)("riseCounts", stopping.riseCounts);
    }
};

template <>
struct Stored<Params> {
    static void fields(auto& a, auto& params) {
        a("architecture", params.architecture)("training", params.training);
        a("stopping", params.stopping);
    }
};

template <>
struct Stored<Network::Layer> {
    static void fields(auto& a, auto& layer) {
        a("weights", layer.weights);
        a.check(
            "weights",
            [&] { return layer.weights.getMatrixOrder() == MatrixOrderType::columnMajor; },
            "expected column-major values");
        a("biases", layer.biases, Length{layer.weights.getNumRows()});
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            layer.weightVelocity = Matrix(layer.weights.getNumRows(), layer.weights.getNumCols());
            layer.biasVelocity = Vector(layer.biases.size());
        }
    }
};

template <>
struct Stored<Network::StoppingInfo> {
    static void fields(auto& a, auto& info) {
        a("trainingCost", info.trainingCost)("trainingError", info.trainingError);
        a("validationCost", info.validationCost)("validationError", info.validationError);
        a.count("numChecksWithoutImprovement", info.numChecksWithoutImprovement);
    }
};

template <>
struct Stored<Network::Logs> {
    static void fields(auto& a, auto& logs) {
        const auto length = [](const Vector& log) {
            return Length{static_cast<std::int64_t>(log.size())};
        };
        a("epochCosts", logs.epochCosts);
        a("epochErrors", logs.epochErrors, length(logs.epochCosts));
        a("trainingCosts", logs.trainingCosts);
        a("trainingErrors", logs.trainingErrors, length(logs.trainingCosts));
        a("validationCosts", logs.validationCosts);
        a("validationErrors", logs.validationErrors, length(logs.validationCosts));
    }
};

template <>
struct Stored<Network::Model::State> {
    static void fields(auto& a, auto& state) {
        a("layers", state.layers)("logs", state.logs);
        a.count("stopReason", state.stopReason);
        a("stopping", state.stopping)("nullPrediction", state.nullPrediction);
        a("nullError", state.nullError);
    }
};

namespace Engine::NeuralNetwork {

/// Fields of both models.
struct NetworkFields {
    static void fields(auto& a, auto& model) {
        a("params", model.params_);
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            try {
                if (model.params_.architecture.getNumLayers() > 0) {
                    Model::checkArchitecture(model.params_.architecture);
                }
            } catch (const Exception& error) {
                a.view().at("params").at("architecture").fail(error.what());
            }
        }
        a("network", model.state_);
        a.check(
            "network", [&] { return fits(model); }, "expected weights of the layers' sizes");
        a.check(
            "network",
            [&] {
                return model.state_.nullPrediction.size() ==
                       (model.isFitted() ? static_cast<std::uint64_t>(model.numOutputs()) : 0U);
            },
            "expected a prediction for each output of a fitted network");
        a("frameColumns", model.columns_);
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            model.setActivations();
            model.setCostFunction();
        }
    }

  private:
    static bool fits(const auto& model) {
        const IntVector& sizes = model.params_.architecture.layerSizes;
        const auto& layers = model.state_.layers;
        if (layers.size() + 1 != std::max<std::uint64_t>(sizes.size(), 1)) return false;
        for (std::size_t l = 0; l < layers.size(); ++l) {
            const Matrix& weights = layers[l].weights;
            if (weights.getNumRows() != sizes[l + 1] || weights.getNumCols() != sizes[l]) {
                return false;
            }
        }
        return true;
    }
};

namespace {

constexpr const char* kClassification = "NeuralNetwork::Classification::Model";
constexpr const char* kRegression = "NeuralNetwork::Regression::Model";

}  // namespace
}  // namespace Engine::NeuralNetwork

template <>
struct Stored<Network::Classification::Model> {
    static void fields(auto& a, auto& model) {
        Engine::storedRoles(a, model);
        Network::NetworkFields::fields(a, model);
        a.check(
            "classes",
            [&] { return !model.isFitted() || model.getNumClasses() == model.numOutputClasses(); },
            "expected a class for each output");
    }
};

template <>
struct Stored<Network::Regression::Model> {
    static void fields(auto& a, auto& model) {
        Network::NetworkFields::fields(a, model);
        a("outputNames", model.outputNames_);
        a.check(
            "outputNames",
            [&] {
                return model.outputNames_.size() <= static_cast<std::uint64_t>(model.numOutputs());
            },
            "expected at most a name for each output");
    }
};

namespace Engine::NeuralNetwork {

void Classification::Model::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kClassification, *this);
}

void Classification::Model::readJson(std::string_view utf8) {
    *this = readStoredText<Model>(kClassification, utf8);
}

void Regression::Model::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kRegression, *this);
}

void Regression::Model::readJson(std::string_view utf8) {
    *this = readStoredText<Model>(kRegression, utf8);
}

}  // namespace Engine::NeuralNetwork
}  // namespace Veltrix

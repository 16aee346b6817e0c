#pragma once

#include <map>

#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::NeuralNetwork {

/// What a layer makes of its linear part z. A code that is not in the list counts as the identity.
enum class ActivationType : int {
    identity = 0,  ///< z
    sigmoid = 1,   ///< 1/(1 + e⁻ᶻ)
    tanh = 2,      ///< (eᶻ − e⁻ᶻ)/(eᶻ + e⁻ᶻ)
    softmax = 3,   ///< eᶻ/Σeᶻ over the units of the layer; for the output layer only
    relu = 4       ///< max(z, 0)
};

/// Settings of a network. Layers count from 0, the input; the last one is the output.
struct VELTRIX_ENGINE_API Params {
    struct VELTRIX_ENGINE_API Architecture {
        IntVector layerSizes;  ///< units of every layer: inputs, hidden layers, outputs
        int costFunction = 1;  ///< 1 quadratic, 2 cross-entropy, 3 log loss; else quadratic
        std::map<int, ActivationType> activations;  ///< of layers; that of the input is not used

        int getNumLayers() const noexcept { return static_cast<int>(layerSizes.size()); }
        /// Layers between input and output; 0 without any layer.
        int getNumHiddenLayers() const noexcept;
        /// Number of the last layer; −1 without any.
        int getOutputLayer() const noexcept { return getNumLayers() - 1; }
        /// The identity for a layer that has none set.
        ActivationType getActivationType(int layer) const;
        ActivationType getOutputActivationType() const;
        /// Stored unchecked; `Model::initialize` checks.
        Architecture& setActivationType(int layer, ActivationType type);
    };

    struct Training {
        int numEpochs = 0;           ///< passes through the training data, at least 0
        int batchSize = 0;           ///< records of a mini-batch, at least 1 in a fit
        double learningRate = 0.0;   ///< η, at least 0
        double weightDecay = 0.0;    ///< λ of the squared weights, at least 0; biases do not decay
        double momentum = 0.0;       ///< m, from 0 to below 1
        double costTolerance = 0.0;  ///< batches of at most this cost change nothing
        int weightSeed = 12345;      ///< of the weights at the start
        int batchMode = 2;           ///< 2 shuffles the records anew in every epoch
        int shuffleSeed = 12345;     ///< this plus the number of the epoch seeds the shuffle
    };

    struct Stopping {
        /// Data that are looked at after every epoch: 1 training, 2 validation, 3 both, 4 none.
        int mode = 1;
        int patience = 0;          ///< checks in a row without improvement that end the training
        double timeLimit = 0.0;    ///< seconds; an epoch that ends later is the last one
        double costChange = 0.0;   ///< relative change of the cost to be undercut; 0: not set
        double errorChange = 0.0;  ///< the same of the error
        /// Whether a value above its best one undercuts its threshold by however much it rose, as
        /// the error of validation records does once a network learns its training records by
        /// heart.
        bool riseCounts = false;
    };

    Architecture architecture;
    Training training;
    Stopping stopping;
};

}  // namespace Veltrix::Engine::NeuralNetwork

#pragma once

#include <chrono>
#include <string>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/NeuralNetwork/Model.h"
#include "engine/supervised/NeuralNetwork/MiniBatches.h"

namespace Veltrix::Engine::NeuralNetwork {

/// Records that are worked on at a time where batches are smaller, or do not matter.
constexpr int kLeastBlock = 256;

/// Whether the records go into the batches in another order than their own.
inline bool shuffles(const Params::Training& training, const MiniBatches& runs) {
    constexpr int kShuffled = 2;
    return training.batchMode == kShuffled && runs.wholeRuns() >= 2;
}

/// The epochs of a fit. What a batch needs is kept from batch to batch.
class Trainer {
  public:
    /// The model must outlive this; it has its starting weights.
    explicit Trainer(Model& model);

    /// Trains, fills the logs and notes why it ended.
    void run(const Model::Data& training, const Model::Data* validation);

  private:
    using Clock = std::chrono::steady_clock;

    /// Cost and error of some records.
    struct Judgement {
        double cost = 0.0;
        double error = 0.0;
    };

    Judgement trainBatch();
    Judgement judge(const Model::Data& data, ProgressPhase& phase);
    /// Costs and errors of the batches of an epoch, summed.
    Judgement runEpoch(MiniBatches& batches, int epoch, ProgressPhase& phase);
    bool checkDataStopping(const Model::Data& training, const Model::Data* validation,
                           ProgressPhase& phase);
    bool lacksImprovement(const Judgement& found, double& bestCost, double& bestError) const;
    int stopReason(double totalCost, const Model::Data& training, const Model::Data* validation,
                   ProgressPhase& phase);
    void describe(const Judgement& epoch, ProgressPhase& phase);
    const Matrix& output() const;

    Model& model_;
    const Params::Training& training_;
    const Params::Stopping& stopping_;
    Batch batch_;
    ForwardCache forward_;
    NetworkCache gradients_;
    Clock::time_point start_ = Clock::now();
    std::string detail_;
};

}  // namespace Veltrix::Engine::NeuralNetwork

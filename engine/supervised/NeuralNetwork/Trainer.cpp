#include "engine/supervised/NeuralNetwork/Trainer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

#include "engine/supervised/NeuralNetwork/Values.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::NeuralNetwork {
namespace {

constexpr int kBoth = 3;
constexpr int kNone = 4;
constexpr int kValidation = 2;

double relativeChange(double best, double current) {
    constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
    return std::fabs(best - current) / (std::fabs(best + current + kEpsilon) * 0.5);
}

/// Whether the change of a value since its best one is below a threshold, if there is one. There is
/// none since nothing.
bool undercuts(const Params::Stopping& stopping, double threshold, double best, double current) {
    if (threshold == 0.0 || (stopping.riseCounts && current > best)) return true;
    return relativeChange(best, current) < threshold;
}

void keepBest(double& best, double current) {
    if (std::isnan(best) || current < best) best = current;
}

/// Four digits are enough for those who watch.
std::string shortText(double value) {
    char text[Support::kNumberTextSize];
    const auto end =
        std::to_chars(std::begin(text), std::end(text), value, std::chars_format::general, 4);
    return {std::begin(text), end.ptr};
}

}  // namespace

Trainer::Trainer(Model& model)
    : model_(model), training_(model.params_.training), stopping_(model.params_.stopping) {}

const Matrix& Trainer::output() const {
    return forward_.at(model_.params_.architecture.getOutputLayer()).activation;
}

Trainer::Judgement Trainer::trainBatch() {
    model_.forward(batch_.features, forward_);
    const double records = batch_.features.getNumCols();
    const double cost =
        model_.cost_->total(valuesOf(output()), valuesOf(batch_.responses)) / records;
    const double error = model_.errorOf(model_.errorTotal(output(), batch_.responses), records);
    if (cost > training_.costTolerance) {
        model_.backward(batch_.features, batch_.responses, forward_, gradients_);
        model_.move(gradients_);
    }
    return {cost, error};
}

Trainer::Judgement Trainer::runEpoch(MiniBatches& batches, int epoch, ProgressPhase& phase) {
    if (shuffles(training_, batches)) {
        batches.shuffle(static_cast<unsigned>(training_.shuffleSeed) +
                        static_cast<unsigned>(epoch));
    }
    Judgement total;
    for (int k = 0; k < batches.count(); ++k) {
        batches.load(k, batch_);
        const auto [cost, error] = trainBatch();
        total.cost += cost;
        total.error += error;
        phase.advance();
    }
    const double count = batches.count();
    model_.state_.logs.epochCosts.push_back(total.cost / count);
    model_.state_.logs.epochErrors.push_back(total.error / count);
    return total;
}

Trainer::Judgement Trainer::judge(const Model::Data& data, ProgressPhase& phase) {
    const MiniBatches blocks(data.x, data.y, std::max(training_.batchSize, kLeastBlock));
    Judgement total;
    for (int k = 0; k < blocks.count(); ++k) {
        blocks.load(k, batch_);
        model_.forward(batch_.features, forward_);
        total.cost += model_.cost_->total(valuesOf(output()), valuesOf(batch_.responses));
        total.error += model_.errorTotal(output(), batch_.responses);
        phase.advance(0);
    }
    const double records = data.x.getNumCols();
    return {total.cost / records, model_.errorOf(total.error, records)};
}

bool Trainer::lacksImprovement(const Judgement& found, double& bestCost, double& bestError) const {
    const bool lacks = undercuts(stopping_, stopping_.costChange, bestCost, found.cost) &&
                       undercuts(stopping_, stopping_.errorChange, bestError, found.error);
    keepBest(bestCost, found.cost);
    keepBest(bestError, found.error);
    return lacks;
}

bool Trainer::checkDataStopping(const Model::Data& training, const Model::Data* validation,
                                ProgressPhase& phase) {
    if (stopping_.mode == kNone) return false;
    Logs& logs = model_.state_.logs;
    StoppingInfo& info = model_.state_.stopping;
    bool lacks = stopping_.costChange > 0.0 || stopping_.errorChange > 0.0;
    if (stopping_.mode != kValidation) {
        const Judgement found = judge(training, phase);
        logs.trainingCosts.push_back(found.cost);
        logs.trainingErrors.push_back(found.error);
        lacks = lacksImprovement(found, info.trainingCost, info.trainingError) && lacks;
    }
    if (stopping_.mode == kValidation || stopping_.mode == kBoth) {
        const Judgement found = judge(*validation, phase);
        logs.validationCosts.push_back(found.cost);
        logs.validationErrors.push_back(found.error);
        lacks = lacksImprovement(found, info.validationCost, info.validationError) && lacks;
    }
    info.numChecksWithoutImprovement = lacks ? info.numChecksWithoutImprovement + 1 : 0;
    return info.numChecksWithoutImprovement >= std::max(stopping_.patience, 1);
}

int Trainer::stopReason(double totalCost, const Model::Data& training,
                        const Model::Data* validation, ProgressPhase& phase) {
    const std::chrono::duration<double> elapsed = Clock::now() - start_;
    if (elapsed.count() > stopping_.timeLimit) return StopReason::kTimeLimit;
    if (training_.costTolerance >= totalCost) return StopReason::kCostTolerance;
    if (checkDataStopping(training, validation, phase)) return stopping_.mode + 1;
    return StopReason::kUnfitted;
}

void Trainer::describe(const Judgement& epoch, ProgressPhase& phase) {
    if (!phase.isWatched()) return;
    detail_ = "epoch " + std::to_string(model_.getNumEpochs()) + " of " +
              std::to_string(training_.numEpochs) + ", cost " + shortText(epoch.cost) + ", error " +
              shortText(epoch.error);
    phase.setDetail(detail_);
}

void Trainer::run(const Model::Data& training, const Model::Data* validation) {
    MiniBatches batches(training.x, training.y, training_.batchSize);
    ProgressPhase phase("Training the network", static_cast<std::uint64_t>(training_.numEpochs) *
                                                    static_cast<std::uint64_t>(batches.count()));
    Logs& logs = model_.state_.logs;
    int reason = StopReason::kUnfitted;
    for (int epoch = 0; epoch < training_.numEpochs && reason == StopReason::kUnfitted; ++epoch) {
        const Judgement total = runEpoch(batches, epoch, phase);
        reason = stopReason(total.cost, training, validation, phase);
        describe({logs.epochCosts.back(), logs.epochErrors.back()}, phase);
    }
    model_.state_.stopReason = reason == StopReason::kUnfitted ? StopReason::kEpochs : reason;
}

}  // namespace Veltrix::Engine::NeuralNetwork

#include "tools/veltrix/families/NetworkTables.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

namespace Veltrix::Tool {

namespace {

namespace NN = Engine::NeuralNetwork;

const char* nameOf(NN::ActivationType type) {
    switch (type) {
        case NN::ActivationType::sigmoid:
            return "sigmoid";
        case NN::ActivationType::tanh:
            return "tanh";
        case NN::ActivationType::softmax:
            return "softmax";
        case NN::ActivationType::relu:
            return "relu";
        case NN::ActivationType::identity:
            break;
    }
    return "identity";
}

const char* costName(int code) {
    constexpr int kLogLoss = 3;
    return code == kLogLoss ? "log loss" : "half the squared error";
}

const char* stopText(int reason) {
    switch (reason) {
        case NN::StopReason::kTrainingData:
            return "no improvement on the training part";
        case NN::StopReason::kValidationData:
            return "no improvement on the validation part";
        case NN::StopReason::kTimeLimit:
            return "time limit";
        case NN::StopReason::kCostTolerance:
            return "a cost of 0";
        default:
            return "all epochs are done";
    }
}

std::vector<std::string> unitNames(int count) {
    std::vector<std::string> names;
    for (int k = 1; k <= count; ++k) names.push_back(fmt::format("Unit {}", k));
    return names;
}

/// A column of a log and, with its chart, where it is shown.
struct Log {
    std::string heading;
    const Vector& values;
    double unit;
};

void addLogChart(ReportBuilder& report, const char* title, const std::string& table,
                 const Log& batches, const Log& checks) {
    ChartBuilder& chart = report.chart(title).x(table, "Epoch").y(table, batches.heading).line();
    if (!checks.values.empty()) chart.line(table, checks.heading);
}

}  // namespace

void addSettings(Table& summary, const NN::Model& model, const NetworkMeasures& measures) {
    const NN::Params& params = model.getParams();
    const auto& architecture = params.architecture;
    const int output = architecture.getOutputLayer();
    const auto& sizes = architecture.layerSizes;
    const std::string hidden =
        fmt::format("{}", fmt::join(sizes.begin() + 1, sizes.end() - 1, ", "));
    const NN::Params::Training& training = params.training;
    summary.entry("Hidden layers", hidden.empty() ? "none" : hidden);
    if (!hidden.empty()) summary.entry("Activation", nameOf(architecture.getActivationType(1)));
    summary.entry("Output", nameOf(architecture.getOutputActivationType()))
        .entry("Outputs", std::int64_t{sizes[output]})
        .entry("Cost", costName(architecture.costFunction))
        .entry("Batch size", std::int64_t{training.batchSize})
        .entry("Learning rate", training.learningRate)
        .entry("Momentum", training.momentum)
        .entry("Weight decay", training.weightDecay)
        .entry("Seed", std::int64_t{static_cast<std::uint32_t>(training.weightSeed)})
        .entry("Epochs", std::int64_t{model.getNumEpochs()})
        .entry("Stopped by", stopText(model.getStopReason()))
        .entry(fmt::format("{} without predictors", measures.error),
               measures.errorUnit * model.getNullError());
}

void addTrainingLog(ReportBuilder& report, const NN::Model& model,
                    const NetworkMeasures& measures) {
    const NN::Logs& logs = model.getLogs();
    const std::string title = "Training log";
    const bool validated = !logs.validationCosts.empty();
    const char* const part = validated ? "validation" : "training";
    const Vector& checkedCosts = validated ? logs.validationCosts : logs.trainingCosts;
    const Vector& checkedErrors = validated ? logs.validationErrors : logs.trainingErrors;
    const Log columns[] = {
        {"Cost: batches", logs.epochCosts, measures.costUnit},
        {fmt::format("{}: batches", measures.error), logs.epochErrors, measures.errorUnit},
        {fmt::format("Cost: {}", part), checkedCosts, measures.costUnit},
        {fmt::format("{}: {}", measures.error, part), checkedErrors, measures.errorUnit}};
    Table& table = report.records(title).counted("Epoch", logs.epochCosts.size());
    for (const Log& log : columns) {
        // The last epoch has no check when the time ended it.
        if (log.values.empty()) continue;
        Vector values = log.values * log.unit;
        while (values.size() < logs.epochCosts.size()) values.push_back(std::nan(""));
        table.numbers(log.heading, std::move(values));
    }
    table.note(
        "Batches: means over the batches of an epoch, each before it moved the weights. The other "
        "columns are taken after the epoch.");
    addLogChart(report, "Cost by epoch", title, columns[0], columns[2]);
    addLogChart(report, "Error by epoch", title, columns[1], columns[3]);
}

void addWeights(ReportBuilder& report, const NN::Model& model,
                const std::vector<std::string>& inputs, const std::vector<std::string>& outputs) {
    const NN::Params::Architecture& architecture = model.getParams().architecture;
    std::vector<std::string> from = inputs;
    for (int layer = 1; layer <= architecture.getOutputLayer(); ++layer) {
        const bool last = layer == architecture.getOutputLayer();
        std::vector<std::string> to = last ? outputs : unitNames(architecture.layerSizes[layer]);
        Matrix rows = model.getWeights(layer);
        rows.appendColumn(model.getBiases(layer));
        std::vector<std::string> labels = std::move(from);
        labels.emplace_back("Bias");
        report
            .table(last ? "Weights: output layer" : fmt::format("Weights: hidden layer {}", layer))
            .text("From", std::move(labels))
            .matrix(to, rows.transpose());
        from = std::move(to);
    }
}

}  // namespace Veltrix::Tool

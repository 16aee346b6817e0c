#pragma once

#include <string>
#include <vector>

#include "Veltrix/Engine/NeuralNetwork.h"
#include "tools/veltrix/report/ReportBuilder.h"

namespace Veltrix::Tool {

/// What a network's cost and error are called, and what a log is multiplied with to hold them.
struct NetworkMeasures {
    const char* error;
    double costUnit = 1.0;
    double errorUnit = 1.0;
};

/// The settings of a network, and how its training ended.
void addSettings(Table& summary, const Engine::NeuralNetwork::Model& model,
                 const NetworkMeasures& measures);

/// Cost and error after every epoch, with a chart of each.
void addTrainingLog(ReportBuilder& report, const Engine::NeuralNetwork::Model& model,
                    const NetworkMeasures& measures);

/// A table of weights for each layer but the input: a row for each unit of the layer before and one
/// for the biases, a column for each unit.
void addWeights(ReportBuilder& report, const Engine::NeuralNetwork::Model& model,
                const std::vector<std::string>& inputs, const std::vector<std::string>& outputs);

}  // namespace Veltrix::Tool

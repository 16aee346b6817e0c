#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/NeuralNetwork.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/families/NetworkTables.h"
#include "tools/veltrix/host/Standardization.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

namespace NN = Engine::NeuralNetwork;
using NN::ActivationType;

constexpr const char* kRate = "--rate";

/// Whether numbers are predicted.
const Choices<bool> kTasks{{"classification", false}, {"regression", true}};
const Choices<ActivationType> kActivations{{"tanh", ActivationType::tanh},
                                           {"sigmoid", ActivationType::sigmoid},
                                           {"relu", ActivationType::relu},
                                           {"identity", ActivationType::identity}};

/// Records as the columns of a matrix.
Matrix inColumns(Matrix x) {
    x.transpose();
    return x;
}

class Network : public StoredFamily<Network> {
  public:
    FamilyNames names() const override {
        return {"network", "Trains a feed-forward neural network for classes or numbers",
                "neural network"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Either, .coding = Coding::AllLevels};
    }

    void options(OptionGroup& own) override {
        own.counts("--hidden", hidden_, "Units of the hidden layers, from the first one on",
                   "none");
        own.choice("--activation", activation_, "Activation of the hidden layers", kActivations);
        NN::Params::Training& training = params_.training;
        const auto shown = [](double value) { return fmt::format("{}", value); };
        own.count("--epochs", training.numEpochs, "Passes through the training part", 1)
            .shown(shown(training.numEpochs));
        own.count("--batch-size", training.batchSize, "Records of a mini-batch", 1)
            .shown(shown(training.batchSize));
        own.number(kRate, training.learningRate, "Learning rate", 0.0)
            .shown(shown(training.learningRate));
        own.share("--momentum", training.momentum,
                  "Share of the gradients before in the one that moves the weights, below 1")
            .shown(shown(training.momentum));
        own.number("--decay", training.weightDecay, "Decay of the weights", 0.0)
            .shown(shown(training.weightDecay));
        own.count("--patience", params_.stopping.patience,
                  "Epochs in a row without improvement of the cost that end the training; 0 for no "
                  "such end")
            .shown(shown(params_.stopping.patience));
        own.number("--min-change", params_.stopping.costChange,
                   "Change of the cost, relative to its best value, that is an improvement", 0.0)
            .shown(shown(params_.stopping.costChange));
        own.number("--time-limit", timeLimit_,
                   "Seconds after which no epoch begins; 0 for no limit", 0.0)
            .shown(shown(timeLimit_));
        own.seed(seed_);
        inputs_.declare(own);
        own.flag("--weights-table", showWeights_, "Adds tables of the weights");
        own.footer(
            "Classes: softmax output, log loss. Numbers: identity output, squared error, the "
            "target\n"
            "standardised for the training. A text predictor becomes one 0/1 column for each "
            "level.\n"
            "Without improvement means on the validation part, or on the training part without "
            "one.");
    }

    void checkOptions() const override {
        if (params_.training.momentum < 1.0) return;
        throw UserError("--momentum: 1, expected a number from 0 to below 1");
    }

    void fit(const Prepared& data) override {
        regression_ = data.roles.classes.empty();
        inputs_.learn(data.training().records.x);
        if (regression_) {
            if (!inputs_.isOff()) target_.learn(inColumns(rowOf(data.training())));
            train(regressor_, data);
        } else {
            setRoles(classifier_, data.roles);
            train(classifier_, data);
        }
        if (std::isfinite(model().getLogs().epochCosts.back())) return;
        throw UserError(
            fmt::format("{}: {} lets the weights grow beyond all numbers, expected less", kRate,
                        params_.training.learningRate));
    }

    std::string title(const std::string& target) const override {
        return "Neural network for " + target;
    }

    void summarize(Table& summary, const Prepared& /*data*/) const override {
        summary.entry("Columns", std::int64_t{numColumns()})
            .entry("Columns standardised", inputs_.isOff() ? "no" : "yes");
        addSettings(summary, model(), measures());
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        addTrainingLog(report, model(), measures());
        const std::vector<std::string> columns = data.coding.columnNames();
        if (!inputs_.isOff()) inputs_.describe(report.table("Standardisation"), columns);
        if (!showWeights_) return;
        addWeights(report, model(), columns,
                   regression_ ? std::vector<std::string>{"Prediction"}
                               : toTexts(classifier_.getClasses()));
    }

    ClassRoles roles() const override { return regression_ ? ClassRoles() : rolesOf(classifier_); }

    Scores score(const Records& records, double /*confidence*/) const override {
        const Matrix outputs = model().feedforward(inColumns(inputs_.apply(records.x)));
        if (regression_) return numberScores(target_.undo(outputs.getAsDoubleVector()));
        return classScores(Convert::toDataFrame(inColumns(outputs), classifier_.getClasses()),
                           roles());
    }

    int numColumns() const override {
        return model().isFitted() ? model().getParams().architecture.layerSizes[0] : 0;
    }

    static void describeFields(auto& a, auto& self) {
        storedChoice(a, "task", self.regression_, kTasks);
        a("standardization", self.inputs_)("targetStandardization", self.target_);
        if (self.regression_) {
            storedModel(a, "model", self.regressor_);
        } else {
            storedModel(a, "model", self.classifier_);
        }
        a.check(
            "standardization", [&] { return self.inputs_.fits(self.numColumns()); },
            "expected a mean for each column");
        a.check(
            "targetStandardization", [&] { return self.target_.fits(1); },
            "expected a mean for one column");
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            if (!self.regression_) checkRoles(a.view().at("model"), self.classifier_);
        }
    }

  private:
    const NN::Model& model() const {
        if (regression_) return regressor_;
        return classifier_;
    }

    NetworkMeasures measures() const {
        constexpr double kPercent = 100.0;
        if (!regression_) return {.error = "% Misclassification", .errorUnit = kPercent};
        const double unit = target_.unit();
        return {.error = "RMSE", .costUnit = unit * unit, .errorUnit = unit};
    }

    template <class Model>
    void train(Model& model, const Prepared& data) {
        const PartData validation = data.withTrainedClasses(Part::Validation);
        const Matrix x = inColumns(inputs_.apply(data.training().records.x));
        model.initialize(settings(x.getNumRows(), data, validation.count() > 0));
        const auto y = targetOf(model, data, data.training());
        if (validation.count() == 0) {
            model.fit(x, y);
        } else {
            model.fit(x, y, inColumns(inputs_.apply(validation.records.x)),
                      targetOf(model, data, validation));
        }
    }

    static Matrix rowOf(const PartData& part) {
        return {1, static_cast<int>(part.numbers.size()), part.numbers};
    }
    Matrix targetOf(const NN::Regression::Model& /*model*/, const Prepared& /*data*/,
                    const PartData& part) const {
        return inColumns(target_.apply(inColumns(rowOf(part))));
    }
    StringVector targetOf(const NN::Classification::Model& /*model*/, const Prepared& data,
                          const PartData& part) const {
        return data.labelsOf(part);
    }

    /// The options as a network of that data takes them.
    NN::Params settings(int columns, const Prepared& data, bool hasValidation) const {
        constexpr int kLogLoss = 3;
        NN::Params params = params_;
        NN::Params::Architecture& layers = params.architecture;
        layers.layerSizes = {columns};
        layers.layerSizes.append(hidden_);
        layers.layerSizes.push_back(regression_ ? 1 : static_cast<int>(data.roles.classes.size()));
        for (int l = 1; l < layers.getOutputLayer(); ++l) layers.setActivationType(l, activation_);
        if (!regression_) {
            layers.costFunction = kLogLoss;
            layers.setActivationType(layers.getOutputLayer(), ActivationType::softmax);
        }
        params.training.weightSeed = params.training.shuffleSeed = static_cast<int>(seed_);
        params.stopping.mode = hasValidation ? 2 : 1;
        params.stopping.timeLimit =
            timeLimit_ > 0.0 ? timeLimit_ : std::numeric_limits<double>::infinity();
        if (params.stopping.patience == 0) params.stopping.costChange = 0.0;
        return params;
    }

    IntVector hidden_{25};
    ActivationType activation_ = ActivationType::tanh;
    NN::Params params_{
        .architecture = {},
        .training = {.numEpochs = 200, .batchSize = 32, .learningRate = 0.1, .momentum = 0.9},
        .stopping = {.patience = 10, .costChange = 0.001, .riseCounts = true}};
    double timeLimit_ = 0.0;
    std::uint32_t seed_ = kDefaultSeed;
    bool showWeights_ = false;
    bool regression_ = false;
    Standardization inputs_;
    Standardization target_;
    NN::Classification::Model classifier_;
    NN::Regression::Model regressor_;
};

}  // namespace

std::unique_ptr<Family> makeNetwork() { return std::make_unique<Network>(); }

}  // namespace Veltrix::Tool

#pragma once

#include <string_view>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Engine/NeuralNetwork/Activation.h"
#include "Veltrix/Engine/NeuralNetwork/CostFunction.h"
#include "Veltrix/Engine/NeuralNetwork/Model.h"
#include "Veltrix/Engine/NeuralNetwork/Params.h"
#include "Veltrix/Engine/Roles.h"
#include "Veltrix/Export.h"

/// @file
/// Neural networks for classes and for numbers.

namespace Veltrix::Engine::NeuralNetwork {

namespace Classification {

/// A network whose outputs are the posterior probabilities of classes, in the order of the class
/// list. A network of one output knows two classes; the output is the probability of the second.
///
/// Responses are 1 for a record's class and 0 for the others (or other shares of the classes), or
/// labels. Without a class list a fit on labels takes the distinct ones in ascending order, a fit
/// on a matrix "0", "1", …, and a fit on a frame of several columns their names. The error is the
/// share of records whose largest output (first on ties; from 0.5 on for one output) is not at the
/// place of their largest response, 0 to 1; an output that is NaN is wrong.
///
/// Beside what `NeuralNetwork::Model` says, a fit throws `Exception` when the classes are not as
/// many as the outputs, or a label is no class. Priors are the classes' shares of the training
/// records unless set before; they settle ties of `Classification::Engine::predict` only.
class VELTRIX_ENGINE_API Model : public NeuralNetwork::Model,
                                 public Engine::Classification::Modelable {
  public:
    Model() = default;
    explicit Model(const Params& params) : NeuralNetwork::Model(params) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    Model& initialize(const Params& params) override;
    Model& setClasses(const StringVector& classes) override;
    Model& setSuccessClass(const WString& successClass) override;
    Model& setSuccessProbabilityCutoff(double cutoff) override;
    Model& setPrior(const WString& label, double prior) override;
    Model& setPrior(const PriorMap& priors) override;

    using Modelable::fit;
    Model& fit(const Matrix& x, const Matrix& y) override;
    Model& fit(const Matrix& x, const Matrix& y, const Matrix& xValid,
               const Matrix& yValid) override;
    /// A response frame of one column holds labels, one of several the responses.
    Model& fit(const DataFrame& x, const DataFrame& y) override;
    Model& fit(const DataFrame& x, const DataFrame& y, const DataFrame& xValid,
               const DataFrame& yValid) override;
    Model& fit(const Matrix& x, const StringVector& labels);
    Model& fit(const Matrix& x, const StringVector& labels, const Matrix& xValid,
               const StringVector& labelsValid);
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& labels);
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& labels, const DataFrame& xValid,
               const ConstDataFrameColumn& labelsValid);

    /// Outputs as `feedforward` gives them, outputs × N.
    Matrix posteriorProbability(const Matrix& x) const;
    /// One row for each record and one column for each class, named "Posterior Probability: " and
    /// the frame's name. Throws `Exception` before a fit, as its classes are not known.
    DataFrame posteriorProbability(const DataFrame& x) const;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    double errorTotal(const Matrix& output, const Matrix& y) const override;
    double errorOf(double total, double records) const override;

  private:
    friend struct Stored<Model>;

    int numOutputClasses() const noexcept;
    StringVector classesOr(const StringVector& usual) const;
    Matrix encode(const StringVector& labels, const StringVector& classes) const;
    Model& fitLabels(const Matrix& x, const StringVector& labels, const Matrix* xValid,
                     const StringVector* labelsValid, FrameColumns columns);
    Model& fitResponses(const Data& training, const Data* validation, const StringVector& classes,
                        FrameColumns columns);
};

}  // namespace Classification

namespace Regression {

/// A network whose outputs are numbers, one or more a record. The error is the root mean squared
/// difference of outputs and responses.
class VELTRIX_ENGINE_API Model : public NeuralNetwork::Model {
  public:
    Model() = default;
    explicit Model(const Params& params) : NeuralNetwork::Model(params) {}
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    Model& initialize(const Params& params) override;
    Model& fit(const Matrix& x, const Matrix& y) override;
    Model& fit(const Matrix& x, const Matrix& y, const Matrix& xValid,
               const Matrix& yValid) override;
    Model& fit(const DataFrame& x, const DataFrame& y) override;
    Model& fit(const DataFrame& x, const DataFrame& y, const DataFrame& xValid,
               const DataFrame& yValid) override;
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& y);
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& y, const DataFrame& xValid,
               const ConstDataFrameColumn& yValid);

    /// Outputs as `feedforward` gives them, outputs × N.
    Matrix predict(const Matrix& x) const;
    /// One row for each record, one column for each output ("Prediction", or the names of the
    /// response columns of the fit when there are several); the name is "Scores: " and the frame's.
    DataFrame predict(const DataFrame& x) const;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
    double errorTotal(const Matrix& output, const Matrix& y) const override;
    double errorOf(double total, double records) const override;

  private:
    friend struct Stored<Model>;

    StringVector outputNames_;
};

}  // namespace Regression
}  // namespace Veltrix::Engine::NeuralNetwork

#pragma once

#include <limits>
#include <map>
#include <memory>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Engine/NeuralNetwork/Activation.h"
#include "Veltrix/Engine/NeuralNetwork/CostFunction.h"
#include "Veltrix/Engine/NeuralNetwork/Params.h"
#include "Veltrix/Export.h"

namespace Veltrix::Engine::NeuralNetwork {

/// Why a training ended.
namespace StopReason {
inline constexpr int kUnfitted = 0;
inline constexpr int kEpochs = 1;          ///< all epochs are done
inline constexpr int kTrainingData = 2;    ///< no improvement on the training data
inline constexpr int kValidationData = 3;  ///< no improvement on the validation data
inline constexpr int kBothData = 4;        ///< on neither
inline constexpr int kTimeLimit = 5;
inline constexpr int kCostTolerance = 6;
}  // namespace StopReason

/// Records of one mini-batch, a column each.
struct Batch {
    Matrix features;
    Matrix responses;
};

/// What a layer makes of some records, units × records.
struct LayerForward {
    Matrix linear;
    Matrix activation;
};
/// Of the layers 1, 2, …; column-major.
using ForwardCache = std::map<int, LayerForward>;

/// Derivatives of the mean cost of some records.
struct LayerGradient {
    Matrix weights;
    Vector biases;
    Matrix delta;  ///< of each record's own cost by the linear parts of the layer, units × records
};
/// Of the layers 1, 2, …
using NetworkCache = std::map<int, LayerGradient>;

/// Best values so far on the data that are looked at, NaN before the first check and of other data.
struct StoppingInfo {
    double trainingCost = std::numeric_limits<double>::quiet_NaN();
    double trainingError = std::numeric_limits<double>::quiet_NaN();
    double validationCost = std::numeric_limits<double>::quiet_NaN();
    double validationError = std::numeric_limits<double>::quiet_NaN();
    int numChecksWithoutImprovement = 0;  ///< the last ones, in a row
};

/// Weights and biases between a layer and the one before, and the moving averages of their
/// gradients.
struct Layer {
    Matrix weights;         ///< units × units of the layer before
    Vector biases;          ///< length = units
    Matrix weightVelocity;  ///< of the shape of the weights
    Vector biasVelocity;
};

/// One value for each epoch, or for each check of the data.
struct Logs {
    Vector epochCosts;   ///< mean over the batches of their costs, taken before each one's update
    Vector epochErrors;  ///< the same of their errors
    Vector trainingCosts;
    Vector trainingErrors;
    Vector validationCosts;
    Vector validationErrors;
};

class Trainer;

/// A fully connected feed-forward network trained by mini-batch gradient descent with momentum
/// (Rumelhart, Hinton and Williams 1986). **A record is a column**: X is inputs × N, Y outputs × N;
/// frames hold records in rows and are transposed. Layer l makes of the activations A of the one
/// before
///
///     Z = W_l A + b_l,   A_l = activation(Z)
///
/// A fit draws the weights of every layer from the normal distribution (`Util::gaussianMatrix` of
/// columns, each layer from the weight seed anew) and divides them by √(units of the layer before);
/// biases start at 0. Then in every epoch e, counted from 0, and for every batch of
/// `createMiniBatches(X, Y, shuffleSeed + e)`, if its mean cost exceeds the cost tolerance,
///
///     V ← m V + (1 − m) ∂C/∂W,   W ← (1 − ηλ) W − η V;   the same without λ for the biases
///
/// with C the mean cost of the batch. After an epoch the training ends
///  - by time (5) once more seconds have passed than the limit: with a limit of 0 after one epoch;
///  - by cost (6) if the summed costs of the batches are at most the cost tolerance;
///  - by lack of improvement: cost and error of the training data (mode 1), the validation data (2)
///    or both (3) are compared with the best ones before by the relative change
///    |best − current|/(|best + current + ε|/2), ε = 2.22e-16. A check in which every threshold
///    that is set is undercut, in all data looked at, counts as one without improvement, any other
///    starts the count anew (a rise beyond the threshold too, unless `riseCounts`); at
///    max(patience, 1) of them the training ends (mode + 1). Without a threshold it never ends so;
///  - when all epochs are done (1).
/// A cost that overflows stays NaN, as the weights do: the rate was too large.
///
/// A fit throws `Exception` and leaves the model as it was when X or Y does not fit the layers or
/// the number of records, there is no record, a value is NaN or infinite, the batch size is below
/// 1, a rate, limit, tolerance or threshold is negative, the momentum not in [0, 1), the mode none
/// of 1 to 4, or validation data are looked at and not there. A batch size above N makes one batch.
///
/// An epoch costs about six multiplications for each weight and record, two more for each data set
/// that is looked at. Memory beyond data and weights: the order of the records (4 bytes each) and
/// the layers' values for one batch, or 256 records if that is more; from the second epoch on no
/// batch allocates. Fits and queries report progress. A fitted model may be read from several
/// threads.
class VELTRIX_ENGINE_API Model : public JSON::Storable {
  public:
    Model() = default;
    explicit Model(const Params& params) { Model::initialize(params); }
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    ~Model() override;

    /// Stores the settings and gives the network its activations, cost function and starting
    /// weights; what a fit left is forgotten. Throws `Exception`, and leaves the model as it was,
    /// for less than two layers, a layer without units, an activation of a layer that is not there,
    /// and softmax on a hidden layer, which it names.
    virtual Model& initialize(const Params& params);
    const Params& getParams() const noexcept { return params_; }

    virtual Model& fit(const Matrix& x, const Matrix& y);
    virtual Model& fit(const Matrix& x, const Matrix& y, const Matrix& xValid,
                       const Matrix& yValid);
    /// Frames have a row for each record; validation frames are matched to x by `FrameColumns`.
    /// Throw the bad-cast error as well, with column and row, for text that is not a number.
    virtual Model& fit(const DataFrame& x, const DataFrame& y);
    virtual Model& fit(const DataFrame& x, const DataFrame& y, const DataFrame& xValid,
                       const DataFrame& yValid);

    /// Activations of the output layer, outputs × N. Throws `Exception` before `initialize` and for
    /// another number of inputs, as the steps below. NaN gives NaN.
    Matrix feedforward(const Matrix& x) const;
    /// The same, and what each layer gave on the way.
    ForwardCache feedforwardCache(const Matrix& x) const;

    /// @name Steps of a training
    /// @{
    /// Runs of `batchSize` records in order, the last one of what remains. In batch mode 2, if
    /// there are at least two whole runs, the records are shuffled before
    /// (`IntVector::shuffle(seed)`).
    std::vector<Batch> createMiniBatches(const Matrix& x, const Matrix& y, unsigned seed) const;
    /// W_l A + b_l.
    Matrix linearForward(const Matrix& previous, int layer) const;
    /// The activation of that.
    Matrix linearActivationForward(const Matrix& previous, int layer) const;
    /// Derivatives of each record's cost by the linear parts of the output layer: a − y for sigmoid
    /// with cross-entropy, aΣy − y for softmax with log loss, else those of the cost through the
    /// (for softmax full) Jacobian of the activation.
    Matrix costFunctionDelta(const Matrix& output, const Matrix& y) const;
    /// Gradients of the mean cost, from what `feedforwardCache` made of x.
    NetworkCache backpropagate(const Matrix& x, const Matrix& y, const ForwardCache& forward) const;
    /// Moves velocities, weights and biases by gradients of the network's shape.
    Model& update(const NetworkCache& gradients);
    /// Mean cost of the outputs.
    double cost(const Matrix& output, const Matrix& y) const;
    /// What share of the outputs is wrong, or by how much; see the two models. NaN without records.
    double dataError(const Matrix& output, const Matrix& y) const;
    /// Outputs of a model without inputs: mean of every response, which for classes is their share.
    static Vector nullPrediction(const Matrix& y);
    /// The error of that prediction.
    double nullError(const Matrix& y) const;
    /// @}

    /// Of the layers 1, 2, …; throws `Exception` for another one.
    const Matrix& getWeights(int layer) const;
    const Vector& getBiases(int layer) const;
    /// Moving averages of the gradients; 0 in a model that was read.
    const Matrix& getWeightVelocity(int layer) const;
    const Vector& getBiasVelocity(int layer) const;
    /// Throw for another shape.
    Model& setWeights(int layer, const Matrix& weights);
    Model& setBiases(int layer, const Vector& biases);

    /// Empty before a fit.
    const Logs& getLogs() const noexcept { return state_.logs; }
    /// See `StopReason`; 0 before a fit.
    int getStopReason() const noexcept { return state_.stopReason; }
    const StoppingInfo& getStoppingInfo() const noexcept { return state_.stopping; }
    /// Epochs that were trained.
    int getNumEpochs() const noexcept { return static_cast<int>(state_.logs.epochCosts.size()); }
    bool isFitted() const noexcept { return state_.stopReason != StopReason::kUnfitted; }
    /// `nullPrediction` and `nullError` of the training data; empty and NaN before a fit.
    const Vector& getNullPrediction() const noexcept { return state_.nullPrediction; }
    double getNullError() const noexcept { return state_.nullError; }
    /// Empty after a fit on a matrix.
    const FrameColumns& getFrameColumns() const noexcept { return columns_; }

  protected:
    Model& operator=(const Model&) = default;
    Model& operator=(Model&&) noexcept = default;

    /// Errors of the records, added up, and the error of that many records. Both matrices are
    /// column-major.
    virtual double errorTotal(const Matrix& output, const Matrix& y) const = 0;
    virtual double errorOf(double total, double records) const = 0;

    /// Where the training records, or those to stop by, are.
    struct Data {
        const Matrix& x;
        const Matrix& y;
    };
    /// Checks and trains; `columns` are those of the frame that the data were.
    void train(const Data& training, const Data* validation, FrameColumns columns);
    /// The records of a frame in columns.
    static Matrix inputsOf(const FrameColumns& columns, const DataFrame& x);
    static Matrix responsesOf(const DataFrame& y);
    int numOutputs() const noexcept;

    FrameColumns columns_;

  private:
    friend class Trainer;
    friend struct NetworkFields;

    /// What a fit leaves.
    struct State {
        std::vector<Layer> layers;  ///< 1, 2, …
        Logs logs;
        int stopReason = StopReason::kUnfitted;
        StoppingInfo stopping;
        Vector nullPrediction;
        double nullError = std::numeric_limits<double>::quiet_NaN();
    };
    friend struct Stored<State>;

    static void checkArchitecture(const Params::Architecture& architecture);
    void setActivations();
    void setCostFunction();
    void initializeWeights();
    const Layer& layerAt(const char* operation, int layer) const;
    void checkData(const Data& data) const;
    void checkTraining(bool hasValidation) const;
    void checkInputs(const char* operation, const Matrix& x) const;
    void forward(const Matrix& x, ForwardCache& cache) const;
    void linear(const Matrix& previous, int layer, Matrix& result) const;
    void activate(const Matrix& linear, int layer, Matrix& result) const;
    void delta(const Matrix& output, const Matrix& y, Matrix& result) const;
    void backward(const Matrix& x, const Matrix& y, const ForwardCache& cache,
                  NetworkCache& gradients) const;
    void move(const NetworkCache& gradients);

    Params params_;
    std::vector<std::shared_ptr<const Activation::Generic>> activations_;  ///< of layers 1, 2, …
    std::shared_ptr<const CostFunction::Generic> cost_;
    State state_;
};

}  // namespace Veltrix::Engine::NeuralNetwork

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/NeuralNetwork.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine::NeuralNetwork::Classification {
namespace {

constexpr const char* kFit = "Neural network fit";

StringVector numberedClasses(int count) {
    StringVector classes;
    for (int c = 0; c < count; ++c) classes.push_back(Convert::toString(c));
    return classes;
}

/// Place of the largest value, the first on ties; that of an only value says whether it is at least
/// a half. A NaN has no place.
int chosenClass(const double* values, int count) {
    if (std::any_of(values, values + count, [](double v) { return std::isnan(v); })) return -1;
    if (count == 1) return values[0] >= 0.5 ? 1 : 0;
    return static_cast<int>(std::max_element(values, values + count) - values);
}

/// The labels of a response frame, if it has a single column.
bool holdsLabels(const DataFrame& y) { return y.getNumCols() == 1; }

StringVector labelsOf(const ConstDataFrameColumn& column) {
    if (column.getKind() == ColumnKind::numeric) {
        const Vector numbers = column.toDoubleVector();
        Checks::finite(kFit, "class", {numbers.data(), numbers.size()});
    }
    return column.toStringVector();
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::initialize(const Params& params) {
    NeuralNetwork::Model::initialize(params);
    return *this;
}

Model& Model::setClasses(const StringVector& classes) {
    Modelable::setClasses(classes);
    return *this;
}

Model& Model::setSuccessClass(const WString& successClass) {
    Modelable::setSuccessClass(successClass);
    return *this;
}

Model& Model::setSuccessProbabilityCutoff(double cutoff) {
    Modelable::setSuccessProbabilityCutoff(cutoff);
    return *this;
}

Model& Model::setPrior(const WString& label, double prior) {
    Modelable::setPrior(label, prior);
    return *this;
}

Model& Model::setPrior(const PriorMap& priors) {
    Modelable::setPrior(priors);
    return *this;
}

/// Classes that the outputs can tell apart.
int Model::numOutputClasses() const noexcept { return numOutputs() == 1 ? 2 : numOutputs(); }

/// Trains with the classes set, or those given, and takes them and their shares over.
Model& Model::fitResponses(const Data& training, const Data* validation,
                           const StringVector& classes, FrameColumns columns) {
    const auto count = static_cast<std::uint64_t>(numOutputClasses());
    if (classes.size() != count && numOutputs() > 0) {
        Checks::fail(ErrorCode::sizeMismatch, kFit,
                     std::to_string(classes.size()) + " classes, " + std::to_string(count) +
                         " expected by the output layer");
    }
    Modelable roles(*this);
    roles.setClasses(classes);
    Vector shares = nullPrediction(training.y);
    if (shares.size() == 1) shares = Vector{1.0 - shares[0], shares[0]};
    if (shares.size() == count) roles.Modelable::fit(classes, shares);
    train(training, validation, std::move(columns));
    Modelable::operator=(std::move(roles));
    return *this;
}

/// A column for each record: 1 at its class, 0 elsewhere; of one output 1 for the second class.
Matrix Model::encode(const StringVector& labels, const StringVector& classes) const {
    std::unordered_map<WString, int> places;
    for (const WString& label : classes) places.emplace(label, static_cast<int>(places.size()));
    const int outputs = numOutputs();
    Matrix y(outputs, static_cast<int>(labels.size()));
    for (int k = 0; k < y.getNumCols(); ++k) {
        const WString& label = labels[static_cast<std::uint64_t>(k)];
        const auto place = places.find(label);
        if (place == places.end()) {
            Checks::fail(
                ErrorCode::invalidArgument, kFit,
                "label \"" + label.toUtf8() + "\" of record " + std::to_string(k) + " is no class");
        }
        if (outputs == 1) {
            y(0, k) = place->second;
        } else if (place->second < outputs) {
            y(place->second, k) = 1.0;
        }
    }
    return y;
}

Model& Model::fitLabels(const Matrix& x, const StringVector& labels, const Matrix* xValid,
                        const StringVector* labelsValid, FrameColumns columns) {
    const StringVector classes =
        getClasses().empty() ? Veltrix::Util::uniqueElements(labels) : getClasses();
    const Matrix y = encode(labels, classes);
    if (xValid == nullptr) return fitResponses({x, y}, nullptr, classes, std::move(columns));
    const Matrix yValid = encode(*labelsValid, classes);
    const Data validation{*xValid, yValid};
    return fitResponses({x, y}, &validation, classes, std::move(columns));
}

Model& Model::fit(const Matrix& x, const Matrix& y) {
    return fitResponses({x, y}, nullptr, classesOr(numberedClasses(numOutputClasses())), {});
}

Model& Model::fit(const Matrix& x, const Matrix& y, const Matrix& xValid, const Matrix& yValid) {
    const Data validation{xValid, yValid};
    return fitResponses({x, y}, &validation, classesOr(numberedClasses(numOutputClasses())), {});
}

Model& Model::fit(const Matrix& x, const StringVector& labels) {
    return fitLabels(x, labels, nullptr, nullptr, {});
}

Model& Model::fit(const Matrix& x, const StringVector& labels, const Matrix& xValid,
                  const StringVector& labelsValid) {
    return fitLabels(x, labels, &xValid, &labelsValid, {});
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& labels) {
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    return fitLabels(inputs, labelsOf(labels), nullptr, nullptr, std::move(columns));
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& labels, const DataFrame& xValid,
                  const ConstDataFrameColumn& labelsValid) {
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix validInputs = inputsOf(columns, xValid);
    const StringVector validLabels = labelsOf(labelsValid);
    return fitLabels(inputs, labelsOf(labels), &validInputs, &validLabels, std::move(columns));
}

Model& Model::fit(const DataFrame& x, const DataFrame& y) {
    if (holdsLabels(y)) return fit(x, y(Veltrix::Util::all, 0));
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix responses = responsesOf(y);
    return fitResponses({inputs, responses}, nullptr, classesOr(y.getColNames()),
                        std::move(columns));
}

Model& Model::fit(const DataFrame& x, const DataFrame& y, const DataFrame& xValid,
                  const DataFrame& yValid) {
    if (holdsLabels(y)) {
        return fit(x, y(Veltrix::Util::all, 0), xValid, yValid(Veltrix::Util::all, 0));
    }
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix responses = responsesOf(y);
    const Matrix validInputs = inputsOf(columns, xValid);
    const Matrix validResponses = responsesOf(yValid);
    const Data validation{validInputs, validResponses};
    return fitResponses({inputs, responses}, &validation, classesOr(y.getColNames()),
                        std::move(columns));
}

StringVector Model::classesOr(const StringVector& usual) const {
    return getClasses().empty() ? usual : getClasses();
}

Matrix Model::posteriorProbability(const Matrix& x) const { return feedforward(x); }

DataFrame Model::posteriorProbability(const DataFrame& x) const {
    Checks::fitted("Neural network posteriors", isFitted());
    Matrix outputs = feedforward(inputsOf(columns_, x));
    if (outputs.getNumRows() == 1) {
        const Matrix second = outputs;
        outputs.resize(2, outputs.getNumCols());
        for (int k = 0; k < outputs.getNumCols(); ++k) {
            outputs(0, k) = 1.0 - second(0, k);
            outputs(1, k) = second(0, k);
        }
    }
    DataFrame frame = Convert::toDataFrame(outputs.transpose(), getClasses());
    frame.setName(L"Posterior Probability: " + x.getName());
    return frame;
}

double Model::errorTotal(const Matrix& output, const Matrix& y) const {
    const int count = output.getNumRows();
    int wrong = 0;
    for (std::int64_t k = 0; k < output.getNumCols(); ++k) {
        const int predicted = chosenClass(output.data() + k * count, count);
        if (predicted < 0 || predicted != chosenClass(y.data() + k * count, count)) ++wrong;
    }
    return wrong;
}

double Model::errorOf(double total, double records) const { return total / records; }

}  // namespace Veltrix::Engine::NeuralNetwork::Classification

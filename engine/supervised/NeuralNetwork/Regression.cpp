#include <cmath>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/NeuralNetwork.h"
#include "engine/supervised/NeuralNetwork/Values.h"

namespace Veltrix::Engine::NeuralNetwork::Regression {
namespace {

const wchar_t* const kPrediction = L"Prediction";

/// A response column as a row.
Matrix rowOf(const ConstDataFrameColumn& y) {
    return {1, y.getNumRows(), y.toDoubleVector(), MatrixOrderType::columnMajor};
}

}  // namespace

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

Model::~Model() = default;

Model& Model::initialize(const Params& params) {
    NeuralNetwork::Model::initialize(params);
    outputNames_ = StringVector();
    return *this;
}

Model& Model::fit(const Matrix& x, const Matrix& y) {
    NeuralNetwork::Model::fit(x, y);
    outputNames_ = StringVector();
    return *this;
}

Model& Model::fit(const Matrix& x, const Matrix& y, const Matrix& xValid, const Matrix& yValid) {
    NeuralNetwork::Model::fit(x, y, xValid, yValid);
    outputNames_ = StringVector();
    return *this;
}

Model& Model::fit(const DataFrame& x, const DataFrame& y) {
    StringVector names = y.getColNames();
    NeuralNetwork::Model::fit(x, y);
    outputNames_ = std::move(names);
    return *this;
}

Model& Model::fit(const DataFrame& x, const DataFrame& y, const DataFrame& xValid,
                  const DataFrame& yValid) {
    StringVector names = y.getColNames();
    NeuralNetwork::Model::fit(x, y, xValid, yValid);
    outputNames_ = std::move(names);
    return *this;
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& y) {
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix responses = rowOf(y);
    train({inputs, responses}, nullptr, std::move(columns));
    outputNames_ = StringVector();
    return *this;
}

Model& Model::fit(const DataFrame& x, const ConstDataFrameColumn& y, const DataFrame& xValid,
                  const ConstDataFrameColumn& yValid) {
    FrameColumns columns(x.getColNames());
    const Matrix inputs = inputsOf(columns, x);
    const Matrix responses = rowOf(y);
    const Matrix validInputs = inputsOf(columns, xValid);
    const Matrix validResponses = rowOf(yValid);
    const Data validation{validInputs, validResponses};
    train({inputs, responses}, &validation, std::move(columns));
    outputNames_ = StringVector();
    return *this;
}

Matrix Model::predict(const Matrix& x) const { return feedforward(x); }

DataFrame Model::predict(const DataFrame& x) const {
    Matrix outputs = feedforward(inputsOf(columns_, x));
    StringVector names{kPrediction};
    if (outputs.getNumRows() > 1) {
        names = outputNames_;
        for (int k = static_cast<int>(names.size()); k < outputs.getNumRows(); ++k) {
            names.push_back(kPrediction + (L" " + Convert::toString(k + 1)));
        }
    }
    DataFrame frame = Convert::toDataFrame(outputs.transpose(), names);
    frame.setName(L"Scores: " + x.getName());
    return frame;
}

double Model::errorTotal(const Matrix& output, const Matrix& y) const {
    const auto a = valuesOf(output);
    const auto responses = valuesOf(y);
    double total = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        total += (a[i] - responses[i]) * (a[i] - responses[i]);
    }
    return total;
}

double Model::errorOf(double total, double records) const {
    return std::sqrt(total / (records * numOutputs()));
}

}  // namespace Veltrix::Engine::NeuralNetwork::Regression

// Stored models from any text: an exception or a model that is stored the same way again. The first
// byte says which kind of model is read.
#include "Veltrix/Veltrix.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

using namespace Veltrix;

template <class Model>
void readModel(std::string_view text) {
    Model model;
    const WString empty = model.toJson();
    try {
        model.fromJsonString(WString::fromUtf8(text));
    } catch (const Exception&) {
        Fuzz::require(model.toJson() == empty, "damage changes nothing");
        return;
    }
    const WString stored = model.toJson();
    Model again;
    again.fromJsonString(stored);
    Fuzz::require(again.toJson() == stored, "a model is stored as it was read");
}

constexpr void (*kReaders[])(std::string_view) = {
    readModel<Engine::LinearModel::OLS::Model>,
    readModel<Engine::KMC::Model>,
    readModel<Engine::Classification::KNN::Model>,
    readModel<Engine::Regression::KNN::Model>,
    readModel<Engine::DT::Classification::Model>,
    readModel<Engine::DT::Regression::Model>,
    readModel<Engine::Encoder>,
    readModel<Engine::CatReducer>,
    readModel<Engine::TS::ARIMA::Data>,
    readModel<Engine::HC::Model>,
    readModel<Engine::LinearModel::Logistic::Model>,
    readModel<Engine::DA::Model>,
    readModel<Classification::NaiveBayes::Engine::Model>,
    readModel<Engine::AR::TTree>,
    readModel<Engine::AR::Apriori>,
    readModel<Engine::PCA::Model>,
    readModel<Engine::CVA::Model>,
    readModel<Engine::TS::Smoothing::MovingAverage>,
    readModel<Engine::TS::Smoothing::DoubleExponential>,
    readModel<Engine::TS::Smoothing::MulHoltWinters>,
    readModel<Engine::TS::ARIMA::ARMA>,
    readModel<Engine::TS::ARIMA::SARMA>,
    readModel<Engine::TM::TextMiner>,
    readModel<Engine::NeuralNetwork::Classification::Model>,
    readModel<Engine::NeuralNetwork::Regression::Model>,
    readModel<Engine::TM::ConceptExtractor>,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return -1;
    const std::size_t kind = data[0] - std::size_t{'a'};
    if (kind >= std::size(kReaders)) return -1;
    kReaders[kind](Veltrix::Fuzz::textOf(data + 1, size - 1));
    return 0;
}

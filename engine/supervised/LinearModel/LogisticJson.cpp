#include "Veltrix/Engine/LinearModel/Logistic.h"
#include "engine/supervised/LinearModel/ModelFields.h"

namespace Veltrix {

using Engine::LinearModel::Logistic::Model;

template <>
struct Stored<Model> {
    static void fields(auto& a, auto& model) {
        Engine::LinearModel::storedSolution(a, model.solution_);
        a("numIterations", model.found_.numIterations);
        a("residualDeviance", model.found_.residualDeviance);
        Engine::LinearModel::storedWeights(a, model, "Logistic regression");
        Engine::LinearModel::storedColumns(a, model.columns_);
    }
};

namespace Engine::LinearModel::Logistic {
namespace {

constexpr const char* kType = "LinearModel::Logistic::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::LinearModel::Logistic
}  // namespace Veltrix

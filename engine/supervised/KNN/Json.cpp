#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/KNN.h"
#include "engine/core/ModelJson.h"
#include "engine/core/RolesJson.h"
#include "support/Json.h"

namespace Veltrix::Engine {
namespace {

using Support::JsonView;
using Support::JsonWriter;

constexpr const char* kClassification = "Classification::KNN::Model";
constexpr const char* kRegression = "Regression::KNN::Model";

void writeTraining(JsonWriter& json, const KNN::Model& model) {
    json.member("weights", ModelJson::values(model.getWeights())).key("features");
    ModelJson::write(json, model.getTrainingFeatures());
}

/// Features and weights. The lists of a model that has been fitted are as long as its features have
/// rows; one that has not may hold some of them already.
void readTraining(const JsonView& root, KNN::Model& model) {
    const Matrix x = ModelJson::matrix(root.at("features"));
    const Vector weights = ModelJson::vector(root.at("weights"));
    const std::int64_t responses = root.at("response").size();
    if (x.getNumRows() > 0 && responses > 0) {
        const auto check = [&](const char* key, std::int64_t found) {
            if (found == x.getNumRows()) return;
            root.at(key).fail("expected as many entries as features.rows");
        };
        check("response", responses);
        check("weights", static_cast<std::int64_t>(weights.size()));
    }
    model.setTrainingFeatures(x).setWeights(weights);
}

}  // namespace

namespace Classification::KNN {
namespace {

void writeResponse(JsonWriter& json, const StringVector& response) {
    const StringVector labels = Veltrix::Util::uniqueElements(response);
    std::unordered_map<WString, std::int32_t> codeOf;
    for (const WString& label : labels) {
        codeOf.emplace(label, static_cast<std::int32_t>(codeOf.size()));
    }
    std::vector<std::int32_t> codes;
    codes.reserve(response.size());
    for (const WString& label : response) codes.push_back(codeOf.at(label));
    ModelJson::member(json, "labels", labels);
    json.member("response", std::span<const std::int32_t>(codes));
}

StringVector readResponse(const JsonView& root) {
    const StringVector labels = ModelJson::distinctTexts(root.at("labels"));
    const JsonView list = root.at("response");
    StringVector response;
    for (const std::int32_t code : list.asInt32s()) {
        if (code < 0 || static_cast<std::uint64_t>(code) >= labels.size()) {
            list.fail("expected places in the list of labels, found " + std::to_string(code));
        }
        response.push_back(labels[static_cast<std::uint64_t>(code)]);
    }
    return response;
}

}  // namespace

WString Model::toJson() const {
    JsonWriter json = ModelJson::begin(kClassification);
    RolesJson::write(json, *this);
    writeResponse(json, response_);
    writeTraining(json, *this);
    return ModelJson::finish(json);
}

void Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kClassification, json, [](const JsonView& root) {
        Model model;
        RolesJson::read(root, model);
        model.setTrainingResponse(readResponse(root));
        readTraining(root, model);
        return model;
    });
}

}  // namespace Classification::KNN

namespace Regression::KNN {

WString Model::toJson() const {
    JsonWriter json = ModelJson::begin(kRegression);
    json.member("response", ModelJson::values(response_));
    writeTraining(json, *this);
    return ModelJson::finish(json);
}

void Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kRegression, json, [](const JsonView& root) {
        Model model;
        model.setTrainingResponse(ModelJson::vector(root.at("response")));
        readTraining(root, model);
        return model;
    });
}

}  // namespace Regression::KNN
}  // namespace Veltrix::Engine

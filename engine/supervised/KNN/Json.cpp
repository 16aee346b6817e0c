#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <unordered_map>
#include <vector>

#include "Veltrix/Engine/KNN.h"
#include "engine/core/Stored.h"

namespace Veltrix {
namespace {

using ClassModel = Engine::Classification::KNN::Model;
using NumberModel = Engine::Regression::KNN::Model;

constexpr const char* kClassification = "Classification::KNN::Model";
constexpr const char* kRegression = "Regression::KNN::Model";

/// The distinct labels of a response, and the place of each record's among them.
struct CodedLabels {
    StringVector labels;
    std::vector<std::int32_t> codes;

    CodedLabels() = default;
    explicit CodedLabels(const StringVector& response) : labels(Util::uniqueElements(response)) {
        std::unordered_map<WString, std::int32_t> codeOf;
        for (const WString& label : labels) {
            codeOf.emplace(label, static_cast<std::int32_t>(codeOf.size()));
        }
        codes.reserve(response.size());
        for (const WString& label : response) codes.push_back(codeOf.at(label));
    }

    bool arePlaces() const {
        const auto count = static_cast<std::int64_t>(labels.size());
        return std::ranges::all_of(codes, [&](int code) { return code >= 0 && code < count; });
    }
    StringVector decoded() const {
        StringVector response;
        for (const int code : codes) response.push_back(labels[static_cast<std::uint64_t>(code)]);
        return response;
    }
};

}  // namespace

/// Features and weights. The lists of a model that has been fitted are as long as its features have
/// rows; one that has not may hold some of them already.
template <>
struct Stored<Engine::KNN::Model> {
    static void fields(auto& a, auto& model, std::uint64_t responses) {
        a.property(
            "weights", [&] { return model.getWeights(); },
            [&](const auto& weights) { model.setWeights(weights); });
        a("features", model.features_);
        const auto rows = static_cast<std::uint64_t>(model.features_.getNumRows());
        const bool fitted = rows > 0 && responses > 0;
        constexpr const char* kExpected = "expected as many entries as features.rows";
        a.check(
            "response", [&] { return !fitted || responses == rows; }, kExpected);
        a.check(
            "weights", [&] { return !fitted || model.getWeights().size() == rows; }, kExpected);
        a.optional("frameColumns", model.columns_);
    }
};

template <>
struct Stored<ClassModel> {
    static void fields(auto& a, auto& model) {
        Engine::storedRoles(a, model);
        CodedLabels response(model.response_);
        a("labels", response.labels)("response", response.codes);
        if constexpr (std::remove_reference_t<decltype(a)>::kReads) {
            Support::expectDistinct(a.view().at("labels"));
            a.check(
                "response", [&] { return response.arePlaces(); },
                "expected places in the list of labels");
            model.response_ = response.decoded();
        }
        Stored<Engine::KNN::Model>::fields(a, model, model.response_.size());
    }
};

template <>
struct Stored<NumberModel> {
    static void fields(auto& a, auto& model) {
        a("response", model.response_);
        Stored<Engine::KNN::Model>::fields(a, model, model.response_.size());
    }
};

namespace Engine {

void Classification::KNN::Model::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kClassification, *this);
}

void Classification::KNN::Model::readJson(std::string_view utf8) {
    *this = readStoredText<Model>(kClassification, utf8);
}

void Regression::KNN::Model::writeJson(JSON::TextSink& sink) const {
    writeStoredText(sink, kRegression, *this);
}

void Regression::KNN::Model::readJson(std::string_view utf8) {
    *this = readStoredText<Model>(kRegression, utf8);
}

}  // namespace Engine
}  // namespace Veltrix

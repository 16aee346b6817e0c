#include <span>
#include <string>
#include <utility>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/core/ModelJson.h"
#include "support/Json.h"

namespace Veltrix::Engine::LinearModel::OLS {
namespace {

using Support::JsonView;
using Support::JsonWriter;

constexpr const char* kType = "LinearModel::OLS::Model";

struct AnovaField {
    const char* key;
    double ANOVA::*member;
};

constexpr AnovaField kAnovaFields[] = {
    {"residualDf", &ANOVA::residualDf},
    {"regressionDf", &ANOVA::regressionDf},
    {"totalDf", &ANOVA::totalDf},
    {"SSE", &ANOVA::SSE},
    {"SSR", &ANOVA::SSR},
    {"SST", &ANOVA::SST},
    {"MSE", &ANOVA::MSE},
    {"MSR", &ANOVA::MSR},
    {"MST", &ANOVA::MST},
    {"standardErrorOfEstimate", &ANOVA::standardErrorOfEstimate},
    {"F", &ANOVA::F},
    {"pValue", &ANOVA::pValue},
};

/// Column numbers, ascending and within [0, columns).
IntVector readColumns(const JsonView& parent, const char* key, int columns) {
    const JsonView list = parent.at(key);
    IntVector result;
    for (const std::int32_t column : list.asInt32s()) {
        const int least = result.empty() ? 0 : result.back() + 1;
        if (column < least || column >= columns) {
            list.fail("expected ascending columns below " + std::to_string(columns));
        }
        result.push_back(column);
    }
    return result;
}

}  // namespace

WString Model::toJson() const {
    JsonWriter json = ModelJson::begin(kType);
    json.member("fitted", fitted_).member("intercept", intercept_);
    json.member("numRows", numRows_).member("numCols", numCols_).member("rank", rank_);
    json.member("tolerance", tolerance_);
    json.member("coefficients", ModelJson::values(coefficients_))
        .member("columnNorms", ModelJson::values(columnNorms_));
    json.member("estimable", std::span<const std::int32_t>(estimable_.data(), estimable_.size()));
    json.key("anova").beginObject();
    for (const AnovaField& field : kAnovaFields) json.member(field.key, anova_.*field.member);
    json.endObject();
    const Vector covariance = covariance_.getAsDoubleVector();
    json.member("covariance", ModelJson::values(covariance));
    json.member("weights", ModelJson::values(getWeights()))
        .member("leverages", ModelJson::values(leverages_));
    return ModelJson::finish(json);
}

void Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kType, json, [](const JsonView& root) {
        Model model;
        model.fitted_ = root.at("fitted").asBool();
        model.intercept_ = root.at("intercept").asBool();
        model.numRows_ = ModelJson::count(root.at("numRows"));
        model.numCols_ = ModelJson::count(root.at("numCols"));
        model.rank_ = ModelJson::count(root.at("rank"));
        model.tolerance_ = root.at("tolerance").asDouble();
        if (model.fitted_ && model.numCols_ < 1) root.at("numCols").fail("expected at least 1");
        const std::int64_t p = model.numCols_;
        model.coefficients_ = ModelJson::vector(root.at("coefficients"), p);
        model.columnNorms_ = ModelJson::vector(root.at("columnNorms"), p);
        model.estimable_ = readColumns(root, "estimable", model.numCols_);
        if (model.estimable_.size() != static_cast<std::uint64_t>(model.rank_)) {
            root.at("estimable").fail("expected as many columns as the rank");
        }
        const JsonView anova = root.at("anova");
        for (const AnovaField& field : kAnovaFields) {
            model.anova_.*field.member = anova.at(field.key).asDouble();
        }
        model.covariance_ =
            Matrix(model.numCols_, model.numCols_, ModelJson::vector(root.at("covariance"), p * p));
        model.leverages_ = ModelJson::vector(root.at("leverages"), model.numRows_);
        // An unfitted model may hold weights already.
        const std::int64_t weights = model.fitted_ ? model.numRows_ : root.at("weights").size();
        model.setWeights(ModelJson::vector(root.at("weights"), weights));
        return model;
    });
}

}  // namespace Veltrix::Engine::LinearModel::OLS

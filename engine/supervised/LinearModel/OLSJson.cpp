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

std::span<const double> values(const Vector& v) { return {v.data(), v.size()}; }

/// A list of doubles of a given length.
Vector readVector(const JsonView& parent, const char* key, std::int64_t length) {
    const JsonView list = parent.at(key);
    if (list.size() != length) {
        list.fail("expected " + std::to_string(length) + " values, found " +
                  std::to_string(list.size()));
    }
    Vector result(static_cast<std::uint64_t>(length));
    list.copyDoubles({result.data(), result.size()});
    return result;
}

int readCount(const JsonView& parent, const char* key) {
    const JsonView value = parent.at(key);
    const int count = value.asInt32();
    if (count < 0) value.fail("expected a count, found " + std::to_string(count));
    return count;
}

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
    json.member("coefficients", values(coefficients_)).member("columnNorms", values(columnNorms_));
    json.member("estimable", std::span<const std::int32_t>(estimable_.data(), estimable_.size()));
    json.key("anova").beginObject();
    for (const AnovaField& field : kAnovaFields) json.member(field.key, anova_.*field.member);
    json.endObject();
    const Vector covariance = covariance_.getAsDoubleVector();
    json.member("covariance", values(covariance));
    json.member("weights", values(getWeights())).member("leverages", values(leverages_));
    return ModelJson::finish(json);
}

void Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kType, json, [](const JsonView& root) {
        Model model;
        model.fitted_ = root.at("fitted").asBool();
        model.intercept_ = root.at("intercept").asBool();
        model.numRows_ = readCount(root, "numRows");
        model.numCols_ = readCount(root, "numCols");
        model.rank_ = readCount(root, "rank");
        model.tolerance_ = root.at("tolerance").asDouble();
        if (model.fitted_ && model.numCols_ < 1) root.at("numCols").fail("expected at least 1");
        const std::int64_t p = model.numCols_;
        model.coefficients_ = readVector(root, "coefficients", p);
        model.columnNorms_ = readVector(root, "columnNorms", p);
        model.estimable_ = readColumns(root, "estimable", model.numCols_);
        if (model.estimable_.size() != static_cast<std::uint64_t>(model.rank_)) {
            root.at("estimable").fail("expected as many columns as the rank");
        }
        const JsonView anova = root.at("anova");
        for (const AnovaField& field : kAnovaFields) {
            model.anova_.*field.member = anova.at(field.key).asDouble();
        }
        model.covariance_ =
            Matrix(model.numCols_, model.numCols_, readVector(root, "covariance", p * p));
        model.leverages_ = readVector(root, "leverages", model.numRows_);
        // An unfitted model may hold weights already.
        const std::int64_t weights = model.fitted_ ? model.numRows_ : root.at("weights").size();
        model.setWeights(readVector(root, "weights", weights));
        return model;
    });
}

}  // namespace Veltrix::Engine::LinearModel::OLS

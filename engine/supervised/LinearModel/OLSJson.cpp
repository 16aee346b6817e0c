#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/core/ModelJson.h"
#include "engine/supervised/LinearModel/Weights.h"
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

/// What a fit of these sizes cannot have given.
void checkFit(const JsonView& root, const Model& model) {
    const int n = model.getNumRows();
    if (model.getRank() > std::min(n, model.getNumCols())) {
        root.at("rank").fail("expected at most the number of rows and of columns");
    }
    const ANOVA& anova = model.getANOVA();
    const std::pair<const char*, bool> degrees[] = {
        {"residualDf", anova.residualDf == n - model.getRank()},
        {"totalDf", anova.totalDf == (model.hasIntercept() ? n - 1 : n)},
        {"regressionDf", anova.regressionDf == anova.totalDf - anova.residualDf},
    };
    for (const auto& [key, right] : degrees) {
        if (!right) root.at("anova").at(key).fail("expected what rows and rank leave");
    }
    const Vector& leverages = model.getLeverages();
    if (!std::all_of(leverages.begin(), leverages.end(),
                     [](double h) { return h >= 0.0 && h <= 1.0; })) {
        root.at("leverages").fail("expected numbers between 0 and 1");
    }
    const std::string problem = weightsProblem(static_cast<std::uint64_t>(n), model.getWeights());
    if (!problem.empty()) root.at("weights").fail(problem);
}

}  // namespace

WString Model::toJson() const {
    JsonWriter json = ModelJson::begin(kType);
    json.member("fitted", solution_.fitted).member("intercept", solution_.intercept);
    json.member("numRows", solution_.numRows)
        .member("numCols", solution_.numCols)
        .member("rank", solution_.rank);
    json.member("tolerance", solution_.tolerance);
    json.member("coefficients", ModelJson::values(solution_.coefficients))
        .member("columnNorms", ModelJson::values(solution_.columnNorms));
    json.member("estimable", std::span<const std::int32_t>(solution_.estimable.data(),
                                                           solution_.estimable.size()));
    json.key("anova").beginObject();
    for (const AnovaField& field : kAnovaFields)
        json.member(field.key, statistics_.anova.*field.member);
    json.endObject();
    const Vector covariance = statistics_.covariance.getAsDoubleVector();
    json.member("covariance", ModelJson::values(covariance));
    json.member("weights", ModelJson::values(getWeights()))
        .member("leverages", ModelJson::values(statistics_.leverages));
    return ModelJson::finish(json);
}

void Model::fromJsonString(const WString& json) {
    *this = ModelJson::read(kType, json, [](const JsonView& root) {
        Model model;
        model.solution_.fitted = root.at("fitted").asBool();
        model.solution_.intercept = root.at("intercept").asBool();
        model.solution_.numRows = ModelJson::count(root.at("numRows"));
        model.solution_.numCols = ModelJson::count(root.at("numCols"));
        model.solution_.rank = ModelJson::count(root.at("rank"));
        model.solution_.tolerance = root.at("tolerance").asDouble();
        if (model.solution_.fitted && model.solution_.numCols < 1) {
            root.at("numCols").fail("expected at least 1");
        }
        const std::int64_t p = model.solution_.numCols;
        model.solution_.coefficients = ModelJson::vector(root.at("coefficients"), p);
        model.solution_.columnNorms = ModelJson::vector(root.at("columnNorms"), p);
        model.solution_.estimable = readColumns(root, "estimable", model.solution_.numCols);
        if (model.solution_.estimable.size() != static_cast<std::uint64_t>(model.solution_.rank)) {
            root.at("estimable").fail("expected as many columns as the rank");
        }
        const JsonView anova = root.at("anova");
        for (const AnovaField& field : kAnovaFields) {
            model.statistics_.anova.*field.member = anova.at(field.key).asDouble();
        }
        model.statistics_.covariance = Matrix(model.solution_.numCols, model.solution_.numCols,
                                              ModelJson::vector(root.at("covariance"), p * p));
        model.statistics_.leverages =
            ModelJson::vector(root.at("leverages"), model.solution_.numRows);
        model.setWeights(ModelJson::vector(root.at("weights")));
        // An unfitted model may hold any weights already.
        if (model.solution_.fitted) checkFit(root, model);
        return model;
    });
}

}  // namespace Veltrix::Engine::LinearModel::OLS

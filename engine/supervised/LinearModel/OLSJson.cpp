#include <algorithm>
#include <cstdint>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/supervised/LinearModel/ModelFields.h"

namespace Veltrix {

using Engine::LinearModel::OLS::ANOVA;
using Engine::LinearModel::OLS::Model;
using Support::Length;

template <>
struct Stored<ANOVA> {
    static void fields(auto& a, auto& anova) {
        a("residualDf", anova.residualDf)("regressionDf", anova.regressionDf);
        a("totalDf", anova.totalDf)("SSE", anova.SSE)("SSR", anova.SSR)("SST", anova.SST);
        a("MSE", anova.MSE)("MSR", anova.MSR)("MST", anova.MST);
        a("standardErrorOfEstimate", anova.standardErrorOfEstimate);
        a("F", anova.F)("pValue", anova.pValue);
    }
};

template <>
struct Stored<Model> {
    static void fields(auto& a, auto& model) {
        auto& found = model.solution_;
        Engine::LinearModel::storedSolution(a, found);
        const std::int64_t p = found.numCols;
        a("anova", model.statistics_.anova);
        a.check(
            "anova", [&] { return !found.fitted || areWhatSizesLeave(model); },
            "expected the degrees of freedom of the rows and the rank");
        a.property(
            "covariance", [&] { return model.statistics_.covariance.getAsDoubleVector(); },
            [&](const Vector& values) { setCovariance(model, values); }, Length{p * p});
        Engine::LinearModel::storedWeights(a, model, "Linear regression");
        a("leverages", model.statistics_.leverages, Length{found.numRows});
        a.check(
            "leverages", [&] { return areShares(model.statistics_.leverages); },
            "expected numbers between 0 and 1");
        Engine::LinearModel::storedColumns(a, model.columns_);
    }

  private:
    static bool areWhatSizesLeave(const Model& model) {
        const ANOVA& anova = model.getANOVA();
        const int n = model.getNumRows();
        return anova.residualDf == n - model.getRank() &&
               anova.totalDf == (model.hasIntercept() ? n - 1 : n) &&
               anova.regressionDf == anova.totalDf - anova.residualDf;
    }
    static bool areShares(const Vector& values) {
        return std::ranges::all_of(values, [](double h) { return h >= 0.0 && h <= 1.0; });
    }
    static void setCovariance(const Model& /*model*/, const Vector& /*values*/) {}
    static void setCovariance(Model& model, const Vector& values) {
        model.statistics_.covariance = Matrix(model.getNumCols(), model.getNumCols(), values);
    }
};

namespace Engine::LinearModel::OLS {
namespace {

constexpr const char* kType = "LinearModel::OLS::Model";

}  // namespace

void Model::writeJson(JSON::TextSink& sink) const { writeStoredText(sink, kType, *this); }

void Model::readJson(std::string_view utf8) { *this = readStoredText<Model>(kType, utf8); }

}  // namespace Engine::LinearModel::OLS
}  // namespace Veltrix

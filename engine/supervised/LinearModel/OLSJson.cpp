#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "Veltrix/Engine/LinearModel/OLS.h"
#include "engine/core/Checks.h"
#include "engine/core/Stored.h"

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
        a("fitted", found.fitted)("intercept", found.intercept);
        a.count("numRows", found.numRows).count("numCols", found.numCols).count("rank", found.rank);
        a.check(
            "numCols", [&] { return !found.fitted || found.numCols > 0; }, "expected at least 1");
        a.check(
            "rank", [&] { return found.rank <= std::min(found.numRows, found.numCols); },
            "expected at most the number of rows and of columns");
        const std::int64_t p = found.numCols;
        a("tolerance", found.tolerance)("coefficients", found.coefficients, Length{p});
        a("columnNorms", found.columnNorms, Length{p});
        a("estimable", found.estimable, Length{found.rank});
        a.check(
            "estimable", [&] { return areAscendingBelow(found.estimable, found.numCols); },
            "expected ascending columns of the design matrix");
        a("anova", model.statistics_.anova);
        a.check(
            "anova", [&] { return !found.fitted || areWhatSizesLeave(model); },
            "expected the degrees of freedom of the rows and the rank");
        a.property(
            "covariance", [&] { return model.statistics_.covariance.getAsDoubleVector(); },
            [&](const Vector& values) { setCovariance(model, values); }, Length{p * p});
        a.property(
            "weights", [&] { return model.getWeights(); },
            [&](const Vector& weights) { setWeights(a, model, weights); });
        a("leverages", model.statistics_.leverages, Length{found.numRows});
        a.check(
            "leverages", [&] { return areShares(model.statistics_.leverages); },
            "expected numbers between 0 and 1");
        // A fit on a matrix has none.
        if (std::remove_reference_t<decltype(a)>::kReads || !model.columns_.getNames().empty()) {
            a.optional("columns", model.columns_);
        }
    }

  private:
    static bool areAscendingBelow(const IntVector& columns, int limit) {
        int least = 0;
        for (const int column : columns) {
            if (column < least || column >= limit) return false;
            least = column + 1;
        }
        return true;
    }
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
    static void setWeights(const Support::StoredWriter& /*a*/, const Model& /*model*/,
                           const Vector& /*weights*/) {}
    static void setWeights(Support::StoredReader& a, Model& model, const Vector& weights) {
        try {
            // An unfitted model may hold any weights already.
            if (model.isFitted()) {
                Engine::Checks::weights("Linear regression", weights, model.getNumRows(), true);
            }
        } catch (const Exception& error) {
            a.view().at("weights").fail(error.what());
        }
        model.setWeights(weights);
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

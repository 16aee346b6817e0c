#include "tools/veltrix/families/LinearTables.h"

#include <utility>

#include <fmt/format.h>

#include "tools/veltrix/report/NumberFormat.h"

namespace Veltrix::Tool {

namespace {

Table& addRemarks(Table& table, const Engine::LinearModel::Model& model) {
    std::vector<std::string> remarks(static_cast<std::size_t>(model.getNumCols()), "not estimable");
    for (const int column : model.getEstimableColumns()) {
        remarks[static_cast<std::size_t>(column)].clear();
    }
    table.text("Remark", std::move(remarks));
    const int aliased = model.getNumCols() - model.getRank();
    if (aliased == 0) return table;
    return table.note(
        fmt::format("{} linearly on the others and {} set to 0.",
                    aliased == 1 ? "1 column depends" : fmt::format("{} columns depend", aliased),
                    aliased == 1 ? "is" : "are"));
}

}  // namespace

std::vector<std::string> coefficientNames(const Engine::LinearModel::Model& model,
                                          std::vector<std::string> names) {
    if (model.hasIntercept()) names.insert(names.begin(), "Intercept");
    return names;
}

Table& addCoefficients(Table& table, const Engine::LinearModel::OLS::Model& model,
                       const std::vector<std::string>& names, double confidence) {
    Engine::LinearModel::CoefficientInfo info = model.computeCoefficientInfo(confidence);
    const std::string level = percentText(confidence);
    table.text("Name", names)
        .numbers("Estimate", std::move(info.estimates))
        .numbers("Std. error", std::move(info.standardErrors))
        .numbers("t", std::move(info.tStatistics))
        .probability("p-value", std::move(info.pValues))
        .numbers("Lower " + level, std::move(info.lowerConfidenceLimits))
        .numbers("Upper " + level, std::move(info.upperConfidenceLimits));
    return addRemarks(table, model);
}

Table& addCoefficients(Table& table, const Engine::LinearModel::Logistic::Model& model,
                       const std::vector<std::string>& names, const Matrix& x, double confidence) {
    Engine::LinearModel::Logistic::CoefficientInfo info =
        model.computeCoefficientInfo(x, confidence);
    const std::string level = percentText(confidence);
    table.text("Name", names)
        .numbers("Estimate", std::move(info.estimates))
        .numbers("Std. error", std::move(info.standardErrors))
        .numbers("Wald chi-square", std::move(info.waldStatistics))
        .probability("p-value", std::move(info.pValues))
        .numbers("Lower " + level, std::move(info.lowerConfidenceLimits))
        .numbers("Upper " + level, std::move(info.upperConfidenceLimits))
        .numbers("Odds", std::move(info.odds));
    return addRemarks(table, model);
}

void addCollinearity(Table& table, const Engine::LinearModel::Model& model,
                     const std::vector<std::string>& names, const Matrix& x) {
    Engine::LinearModel::Multicollinearity info = model.computeFittedMulticollinearity(x);
    std::vector<std::string> estimable;
    for (const int column : model.getEstimableColumns()) {
        estimable.push_back(names[static_cast<std::size_t>(column)]);
    }
    table.counted("Component", info.eigenvalues.size())
        .numbers("Eigenvalue", info.eigenvalues)
        .numbers("Condition index", info.conditionIndices)
        .matrix(estimable, info.varianceProportions.transpose())
        .note("Columns named after coefficients hold their variance proportions.");
}

}  // namespace Veltrix::Tool

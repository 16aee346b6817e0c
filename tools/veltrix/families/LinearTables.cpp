#include "tools/veltrix/families/LinearTables.h"

#include <utility>

#include <fmt/format.h>

namespace Veltrix::Tool {

std::vector<std::string> coefficientNames(const Engine::LinearModel::Model& model,
                                          const Prepared& data) {
    std::vector<std::string> names = data.coding.columnNames();
    if (model.hasIntercept()) names.insert(names.begin(), "Intercept");
    return names;
}

void addRemarks(Table& table, const Engine::LinearModel::Model& model, const Prepared& data) {
    std::vector<std::string> remarks(static_cast<std::size_t>(model.getNumCols()), "not estimable");
    for (const int column : model.getEstimableColumns()) {
        remarks[static_cast<std::size_t>(column)].clear();
    }
    table.text("Remark", std::move(remarks)).note(data.coding.baseNotes());
    const int aliased = model.getNumCols() - model.getRank();
    if (aliased == 0) return;
    table.note(
        fmt::format("{} linearly on the others and {} set to 0.",
                    aliased == 1 ? "1 column depends" : fmt::format("{} columns depend", aliased),
                    aliased == 1 ? "is" : "are"));
}

void addCollinearity(Table& table, const Engine::LinearModel::Model& model, const Prepared& data) {
    Engine::LinearModel::Multicollinearity info =
        model.computeFittedMulticollinearity(data.training().records.x);
    const std::vector<std::string> all = coefficientNames(model, data);
    std::vector<std::string> names;
    for (const int column : model.getEstimableColumns()) {
        names.push_back(all[static_cast<std::size_t>(column)]);
    }
    table.counted("Component", info.eigenvalues.size())
        .numbers("Eigenvalue", info.eigenvalues)
        .numbers("Condition index", info.conditionIndices)
        .matrix(names, info.varianceProportions.transpose())
        .note("Columns named after coefficients hold their variance proportions.");
}

}  // namespace Veltrix::Tool

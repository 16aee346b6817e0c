#include "tools/veltrix/host/ConstantColumns.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {
namespace {

enum class Spread { none, constant, varies };

/// Of a column, class by class.
std::vector<Spread> spreads(const Prepared& data, int column) {
    const PartData& training = data.training();
    const auto values = training.records.x(Selection::all, column).elements();
    std::vector<std::optional<double>> firsts(data.labels.size());
    std::vector<Spread> result(data.labels.size(), Spread::none);
    for (std::uint64_t i = 0; i < training.labels.size(); ++i) {
        const auto label = static_cast<std::size_t>(training.labels[i]);
        const double value = values[static_cast<std::ptrdiff_t>(i)];
        if (!firsts[label]) {
            firsts[label] = value;
            result[label] = Spread::constant;
        } else if (value != *firsts[label]) {
            result[label] = Spread::varies;
        }
    }
    return result;
}

}  // namespace

std::string constantWithinClasses(const Prepared& data, bool inOneClass) {
    const std::vector<std::string> columns = data.coding.columnNames();
    for (int j = 0; j < data.training().records.x.getNumCols(); ++j) {
        const std::string& name = columns[static_cast<std::size_t>(j)];
        const std::vector<Spread> classes = spreads(data, j);
        const auto constant = std::ranges::find(classes, Spread::constant);
        if (inOneClass && constant != classes.end()) {
            const auto k = static_cast<std::size_t>(constant - classes.begin());
            return fmt::format("column {} is constant in class {}", quoted(name),
                               quoted(data.labels[k].toUtf8()));
        }
        if (std::ranges::find(classes, Spread::varies) != classes.end()) continue;
        return fmt::format("column {} is constant in every class", quoted(name));
    }
    return {};
}

}  // namespace Veltrix::Tool

#include "tools/veltrix/host/Standardization.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Veltrix/Data/Util.h"
#include "data/containers/Stored.h"

namespace Veltrix::Tool {

void Standardization::declare(OptionGroup& options) {
    options.flag("--no-standardize", off_,
                 "Takes columns of numbers as they are, not less their mean and divided by their "
                 "standard deviation in the training part");
}

void Standardization::learn(const Matrix& x) {
    means_ = Vector();
    deviations_ = Vector();
    if (off_) return;
    means_ = Util::mean(x);
    for (int j = 0; j < x.getNumCols(); ++j) {
        const double squares = Util::SST(x(Selection::all, IntVector{j}));
        const double deviation = std::sqrt(squares / (x.getNumRows() - 1));
        deviations_.push_back(deviation > 0.0 && std::isfinite(deviation) ? deviation : 1.0);
    }
}

Matrix Standardization::apply(Matrix x) const {
    if (means_.empty()) return x;
    for (int j = 0; j < x.getNumCols(); ++j) {
        const auto place = static_cast<std::uint64_t>(j);
        const double mean = means_[place];
        const double deviation = deviations_[place];
        for (int i = 0; i < x.getNumRows(); ++i) x(i, j) = (x(i, j) - mean) / deviation;
    }
    return x;
}

Vector Standardization::undo(Vector values) const {
    if (means_.empty()) return values;
    for (double& value : values) value = means_[0] + deviations_[0] * value;
    return values;
}

void Standardization::describe(Table& table, const std::vector<std::string>& columns) const {
    if (means_.empty()) return;
    table.text("Column", columns)
        .numbers("Mean", means_)
        .numbers("Standard deviation", deviations_)
        .note("Of the training part; a constant column is divided by 1.");
}

bool Standardization::fits(int columns) const {
    return means_.empty() || means_.size() == static_cast<std::uint64_t>(columns);
}

}  // namespace Veltrix::Tool

namespace Veltrix {

namespace {

void describe(auto& a, auto& means, auto& deviations) {
    a("means", means);
    a("deviations", deviations, Support::Length{static_cast<std::int64_t>(means.size())});
    a.check(
        "deviations",
        [&] {
            return std::all_of(deviations.begin(), deviations.end(),
                               [](double d) { return d > 0.0 && std::isfinite(d); });
        },
        "expected finite numbers above 0");
}

}  // namespace

void Stored<Tool::Standardization>::fields(Support::StoredWriter& a,
                                           const Tool::Standardization& scaling) {
    describe(a, scaling.means_, scaling.deviations_);
}

void Stored<Tool::Standardization>::fields(Support::StoredReader& a,
                                           Tool::Standardization& scaling) {
    describe(a, scaling.means_, scaling.deviations_);
}

}  // namespace Veltrix

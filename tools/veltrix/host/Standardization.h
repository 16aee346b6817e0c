#pragma once

#include <string>
#include <vector>

#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "support/Stored.h"
#include "tools/veltrix/host/OptionGroup.h"
#include "tools/veltrix/report/Report.h"

namespace Veltrix::Tool {

/// Brings columns to mean 0 and standard deviation 1 as the training part has them, for families
/// that need columns of like size. It is stored with the model, so that other records are moved in
/// the same way.
class Standardization {
  public:
    /// The option that leaves the columns as they are.
    void declare(OptionGroup& options);

    /// Takes means and standard deviations (divisor n - 1) from the columns; a constant column is
    /// divided by 1. Does nothing under the option.
    void learn(const Matrix& x);
    /// (x - mean)/deviation; x itself as long as nothing was learned.
    Matrix apply(Matrix x) const;
    /// The values of the only column back from what `apply` made of them.
    Vector undo(Vector values) const;
    /// What differences of the only column are multiplied with to be those of the data.
    double unit() const { return deviations_.empty() ? 1.0 : deviations_[0]; }

    bool isOff() const { return off_; }
    /// A row for each column.
    void describe(Table& table, const std::vector<std::string>& columns) const;
    /// Whether it stands for that many columns, or for none.
    bool fits(int columns) const;

  private:
    friend struct Stored<Standardization>;

    bool off_ = false;
    Vector means_;
    Vector deviations_;
};

}  // namespace Veltrix::Tool

/// Empty lists stand for columns as they are.
template <>
struct Veltrix::Stored<Veltrix::Tool::Standardization> {
    static void fields(Support::StoredWriter& a, const Tool::Standardization& scaling);
    static void fields(Support::StoredReader& a, Tool::Standardization& scaling);
};

#include <algorithm>
#include <cmath>
#include <limits>

#include <fmt/format.h>

#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/PCA.h"
#include "data/containers/Stored.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/GroupChart.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

constexpr const char* kComponents = "--components";
constexpr const char* kVariance = "--variance";
constexpr const char* kCorrelation = "--correlation";

class PrincipalComponents : public StoredFamily<PrincipalComponents> {
  public:
    FamilyNames names() const override {
        return {"pca", "Finds the principal components of columns of numbers",
                "principal components", "component scores"};
    }
    Needs needs() const override { return {}; }

    void options(OptionGroup& own) override {
        own.flag(kCorrelation, correlation_,
                 "Standardises the columns: components of the correlations, not the covariances");
        own.count(kComponents, numComponents_,
                  "Components to score by; all that have a variance (default)", 1)
            .placeholder("N");
        own.percentage(kVariance, variance_,
                       "Takes as many components as explain this percentage of the variance")
            .excludes(kComponents);
    }

    void fit(const Prepared& data) override {
        const Matrix& x = data.training().records.x;
        const std::vector<std::string>& columns = data.coding.predictors();
        checkRows(data);
        checkAtMost(kComponents, numComponents_, "the number of columns", x.getNumCols());
        centre_ = Util::mean(x);
        scale_ = Vector(centre_.size(), 1.0);
        for (int j = 0; correlation_ && j < x.getNumCols(); ++j) {
            const auto place = static_cast<std::size_t>(j);
            scale_[place] = deviation(x, j);
            if (scale_[place] > 0.0) continue;
            throw UserError(
                fmt::format("{}: column {} is constant, expected columns that vary with {}",
                            data.option, quoted(columns[place]), kCorrelation));
        }
        model_.setParams({correlation_ ? 0 : 1}).fit(x);
        if (numComponents_ == 0) numComponents_ = chosen();
    }

    std::string title(const std::string& /*target*/) const override {
        return "Principal components";
    }

    void summarize(Table& summary, const Prepared& /*data*/) const override {
        summary.entry("Matrix", correlation_ ? "correlation" : "covariance")
            .entry("Data for scores, Q and T²",
                   correlation_ ? "centred and divided by the standard deviations" : "centred")
            .entry("Components", std::int64_t{numComponents_})
            .entry("Explained variance, %",
                   cumulative()[static_cast<std::uint64_t>(numComponents_ - 1)]);
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        const std::vector<std::string>& columns = data.coding.predictors();
        report.table("Eigenvalues")
            .counted("Component", model_.getEigenvalues().size())
            .numbers("Eigenvalue", model_.getEigenvalues())
            .series("Explained variance, %", model_.explainedVariance())
            .series("Cumulative variance, %", cumulative());
        Table& columnsUsed = report.table("Columns");
        columnsUsed.text("Column", columns).numbers("Mean", centre_);
        if (correlation_) columnsUsed.numbers("Standard deviation", scale_);
        report.table("Loadings")
            .text("Column", columns)
            .matrix(numbered("Component", model_.getEigenvectors().getNumCols()),
                    model_.getEigenvectors())
            .note("Eigenvectors of length 1, their largest entry positive.");
        Table& scores = report.records("Scores");
        scores.integers("Row", data.training().rowNumbers);
        for (Column& column : scoresOf(data.training().records.x)) scores.add(std::move(column));
        report.chart("Scree chart")
            .x("Eigenvalues", "Component")
            .y("Eigenvalues", "Eigenvalue")
            .line();
        if (numComponents_ > 1) addBiplot(report, data);
    }

    Scores score(const Records& records, double /*confidence*/) const override {
        if (records.count() > 0) return {{}, {}, {}, scoresOf(records.x)};
        return {{}, {}, {}, scoresOf(Matrix(0, numColumns()))};
    }

    int numColumns() const override { return model_.getEigenvectors().getNumRows(); }

    static void describeFields(auto& a, auto& self) {
        storedModel(a, "model", self.model_);
        const int cols = self.numColumns();
        a("centre", self.centre_, Support::Length{cols});
        a("scale", self.scale_, Support::Length{cols});
        a.check(
            "scale",
            [&] { return std::ranges::all_of(self.scale_, [](double s) { return s > 0; }); },
            "expected numbers above 0");
        a("components", self.numComponents_)
            .check(
                "components",
                [&] { return self.numComponents_ > 0 && self.numComponents_ <= cols; },
                "expected 1 to the number of columns");
    }

  private:
    static void checkRows(const Prepared& data) {
        if (data.rowsUsed > 1) return;
        throw UserError(fmt::format("{}: {} row with all values, expected at least 2", data.option,
                                    data.rowsUsed));
    }

    /// Standard deviation of a column, exactly 0 for a constant one.
    static double deviation(const Matrix& x, int column) {
        const Matrix alone = x(Util::all, IntVector{column});
        return std::sqrt(Util::covariance(alone)(0, 0));
    }

    Vector cumulative() const {
        return Engine::PCA::Model::explainedCumulativeVariance(model_.explainedVariance());
    }

    /// The components that --variance asks for, else all whose eigenvalue is not left of rounding.
    int chosen() const {
        const Vector& eigenvalues = model_.getEigenvalues();
        const double rounding = 16.0 * std::numeric_limits<double>::epsilon() *
                                static_cast<double>(eigenvalues.size()) * eigenvalues[0];
        const Vector explained = cumulative();
        int count = 1;
        for (std::uint64_t k = 1; k < eigenvalues.size(); ++k) {
            const bool reached = variance_ < 100.0 && explained[k - 1] >= variance_;
            if (reached || !(eigenvalues[k] > rounding)) break;
            ++count;
        }
        return count;
    }

    /// The records about the means, standardised where the fit was.
    Matrix prepared(Matrix x) const {
        for (int j = 0; j < x.getNumCols(); ++j) {
            const auto place = static_cast<std::uint64_t>(j);
            x(Util::all, j) -= centre_[place];
            if (scale_[place] != 1.0) x(Util::all, j) /= scale_[place];
        }
        return x;
    }

    std::vector<Column> scoresOf(const Matrix& x) const {
        const Matrix records = prepared(x);
        const Matrix scores = model_.transform(records, numComponents_);
        Vector q = Engine::PCA::Model::qStat(records, scores);
        // Rounding may leave less than nothing of a record that the components hold as a whole.
        for (double& value : q) value = std::max(value, 0.0);
        Table table{.title = {}, .columns = {}};
        table.matrix(numbered("Component", numComponents_), scores)
            .numbers("Q", std::move(q))
            .numbers("T²", model_.tStat(scores));
        return std::move(table.columns);
    }

    /// The rows in the plane of the first two components, and the columns' loadings stretched to
    /// the same size.
    void addBiplot(ReportBuilder& report, const Prepared& data) const {
        const std::string title = "Biplot";
        const Matrix scores = model_.transform(prepared(data.training().records.x), 2);
        const Matrix loadings = model_.getEigenvectors()(Util::all, Util::range(0, 2));
        double stretch = 0.0;
        for (int k = 0; k < 2; ++k) {
            const auto largest = [k](const Matrix& a) {
                return Util::norm(a(Util::all, k), NormType::largestAbsoluteValue, false);
            };
            stretch = std::max(stretch, largest(scores) / largest(loadings));
        }
        std::vector<std::string> what;
        Vector x;
        Vector y;
        for (int i = 0; i < scores.getNumRows(); ++i) {
            what.push_back(
                fmt::format("row {}", data.training().rowNumbers[static_cast<std::size_t>(i)]));
            x.push_back(scores(i, 0));
            y.push_back(scores(i, 1));
        }
        const std::vector<std::string>& columns = data.coding.predictors();
        for (int j = 0; j < loadings.getNumRows(); ++j) {
            what.push_back(columns[static_cast<std::size_t>(j)]);
            x.push_back(stretch * loadings(j, 0));
            y.push_back(stretch * loadings(j, 1));
        }
        const std::vector<std::string> axes = numbered("Component", 2);
        report.chartTable(title)
            .text("Point", std::move(what))
            .numbers(axes[0], std::move(x))
            .numbers(axes[1], std::move(y));
        ChartBuilder& chart = report.chart(title).x(title, axes[0]).y(title, axes[1]);
        chart.group("Rows", static_cast<std::size_t>(scores.getNumRows()));
        if (columns.size() > kMostNamed) {
            chart.group("Loadings", columns.size());
            return;
        }
        for (const std::string& column : columns) chart.group(column, 1);
    }

    /// Columns that have a series of their own in the biplot.
    static constexpr std::size_t kMostNamed = 30;

    bool correlation_ = false;
    int numComponents_ = 0;  ///< 0 = not given
    double variance_ = 100.0;
    Vector centre_;
    Vector scale_;
    Engine::PCA::Model model_;
};

}  // namespace

std::unique_ptr<Family> makePrincipalComponents() {
    return std::make_unique<PrincipalComponents>();
}

}  // namespace Veltrix::Tool

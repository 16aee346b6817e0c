#include <cstdint>

#include <fmt/format.h>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/CVA.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/ConstantColumns.h"
#include "tools/veltrix/host/GroupChart.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

class CanonicalVariates : public StoredFamily<CanonicalVariates> {
  public:
    FamilyNames names() const override {
        return {"cva", "Finds the directions in which classes differ most", "canonical variates",
                "variate scores"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Classes,
                .coding = Coding::AllButBase,
                .describesTraining = true,
                .predicts = false};
    }

    void options(OptionGroup& own) override {
        own.footer("A text predictor becomes a 0/1 column for each of its levels but the first.");
    }

    void fit(const Prepared& data) override {
        try {
            model_.fit(data.training().records.x, data.training().labels);
        } catch (const Veltrix::Exception&) {
            const std::string constant = constantWithinClasses(data, false);
            if (constant.empty()) throw;
            throw UserError(fmt::format("{}: {}, expected columns that vary within classes",
                                        data.option, constant));
        }
        if (numVariates() > 0) return;
        throw UserError(fmt::format(
            "{}: the classes have the same means in all columns, expected classes that differ",
            data.option));
    }

    std::string title(const std::string& target) const override {
        return "Canonical variates of " + target;
    }

    void summarize(Table& summary, const Prepared& data) const override {
        summary.entry("Columns", std::int64_t{numColumns()})
            .entry("Classes", static_cast<std::int64_t>(data.labels.size()))
            .entry("Variates", std::int64_t{numVariates()});
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        const Vector shares = Util::percentage(model_.getEigenvalues());
        std::vector<std::int64_t> variates;
        Vector eigenvalues;
        Vector ofThem;
        for (const int k : largestFirst()) {
            variates.push_back(static_cast<std::int64_t>(variates.size()) + 1);
            eigenvalues.push_back(model_.getEigenvalues()[static_cast<std::uint64_t>(k)]);
            ofThem.push_back(shares[static_cast<std::uint64_t>(k)]);
        }
        Vector cumulative = Util::partialSum(ofThem);
        report.table("Eigenvalues")
            .integers("Variate", std::move(variates))
            .numbers("Eigenvalue", std::move(eigenvalues))
            .series("Share, %", std::move(ofThem))
            .series("Cumulative share, %", std::move(cumulative))
            .note("An eigenvalue is the scatter of the scores between classes over that within.");
        report.table("Coefficients")
            .text("Column", data.coding.columnNames())
            .matrix(numbered(), model_.getCoefficients()(Util::all, largestFirst()))
            .note("Scores have within-class scatter 1 and are not centred.")
            .note(data.coding.baseNotes());
        const PartData& training = data.training();
        const Matrix scores = scoresOf(training.records.x);
        report.records("Scores")
            .integers("Row", training.rowNumbers)
            .text("Class", data.labelsOf(training))
            .matrix(numbered(), scores);
        const std::vector<std::string> classes = toTexts(data.labels);
        addGroupChart(report, {"Variate chart", "Variates", classes, {"Class", classes}}, training,
                      training.labels, scores, numbered());
    }

    Scores score(const Records& records, double /*confidence*/) const override {
        Table table{.title = {}, .columns = {}};
        table.matrix(numbered(),
                     records.count() > 0 ? scoresOf(records.x) : Matrix(0, numVariates()));
        return {{}, {}, {}, std::move(table.columns)};
    }

    int numColumns() const override { return model_.getNumColumns(); }

    static void describeFields(auto& a, auto& self) {
        storedModel(a, "model", self.model_);
        a.check(
            "model", [&] { return self.numVariates() > 0; }, "expected at least one variate");
    }

  private:
    int numVariates() const { return model_.getCoefficients().getNumCols(); }

    /// Variates as the report numbers them, places in the model.
    IntVector largestFirst() const { return Util::range(numVariates() - 1, -1, -1); }

    std::vector<std::string> numbered() const { return Tool::numbered("Variate", numVariates()); }

    Matrix scoresOf(const Matrix& x) const {
        return model_.transform(x)(Util::all, largestFirst());
    }

    Engine::CVA::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeCanonicalVariates() { return std::make_unique<CanonicalVariates>(); }

}  // namespace Veltrix::Tool

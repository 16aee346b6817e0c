#include <algorithm>

#include <fmt/format.h>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/DA.h"
#include "Veltrix/Engine/Exceptions.h"
#include "tools/veltrix/families/Families.h"
#include "tools/veltrix/host/ConstantColumns.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

class Discriminant : public StoredFamily<Discriminant> {
  public:
    FamilyNames names() const override {
        return {"discriminant", "Predicts classes by linear or quadratic discriminant analysis",
                "discriminant analysis"};
    }
    Needs needs() const override {
        return {.target = TargetKind::Classes, .coding = Coding::AllButBase};
    }

    void options(OptionGroup& own) override {
        own.flag("--quadratic", quadratic_,
                 "A covariance matrix for each class instead of one for all");
        own.footer(
            "A text predictor becomes a 0/1 column for each of its levels but the first.\n"
            "Every class needs records in the training part; for --quadratic more of them than\n"
            "there are columns.");
    }

    void fit(const Prepared& data) override {
        setRoles(model_, data.roles);
        const PartData& training = data.training();
        try {
            model_.setQuadratic(quadratic_).fit(training.records.x, data.labelsOf(training));
        } catch (const Engine::DAInvalidWithinClassVariance& error) {
            const std::string constant = constantWithinClasses(data, quadratic_);
            throw UserError(fmt::format("{}: {}{}{}", data.option, error.what(),
                                        constant.empty() ? "" : " Found: ", constant));
        }
    }

    std::string title(const std::string& target) const override {
        return fmt::format("{} discriminant analysis of {}", quadratic_ ? "Quadratic" : "Linear",
                           target);
    }

    void summarize(Table& summary, const Prepared& /*data*/) const override {
        summary.entry("Columns", std::int64_t{numColumns()})
            .entry("Covariance matrices", quadratic_ ? "one for each class" : "pooled");
    }

    void describe(ReportBuilder& report, const Prepared& data) const override {
        const std::vector<std::string> columns = data.coding.columnNames();
        const std::vector<std::string> classes = toTexts(model_.getClasses());
        report.table("Group means")
            .text("Column", columns)
            .matrix(classes, model_.getGroupMeans())
            .note(data.coding.baseNotes());
        std::vector<std::string> terms{"Constant"};
        terms.insert(terms.end(), columns.begin(), columns.end());
        Table& coefficients = report.table("Coefficients").text("Term", std::move(terms));
        for (std::size_t g = 0; g < classes.size(); ++g) {
            const auto ofClass = model_.getCoefficients()(Selection::all, static_cast<int>(g));
            Vector values{model_.getConstants()[g]};
            for (const double value : ofClass.elements()) values.push_back(value);
            coefficients.numbers(classes[g], std::move(values));
        }
        coefficients.note(
            quadratic_ ? "Of the score of each class; its quadratic terms stand in a table of "
                         "their own."
                       : "Of the score of each class. The class of the largest score is the most "
                         "probable one.");
        for (std::size_t g = 0; g < model_.getQuadraticTerms().size(); ++g) {
            report.table("Quadratic terms: " + classes[g])
                .text("Column", columns)
                .matrix(columns, model_.getQuadraticTerms()[g]);
        }
    }

    ClassRoles roles() const override { return rolesOf(model_); }

    Scores score(const Records& records, double /*confidence*/) const override {
        return classScores(
            Convert::toDataFrame(model_.posteriorProbability(records.x), model_.getClasses()),
            roles());
    }

    int numColumns() const override { return model_.getGroupMeans().getNumRows(); }

    static void describeFields(auto& a, auto& self) {
        storedModel(a, "model", self.model_);
        if constexpr (std::decay_t<decltype(a)>::kReads) {
            self.quadratic_ = !self.model_.getQuadraticTerms().empty();
            checkRoles(a.view().at("model"), self.model_);
        }
    }

  private:
    bool quadratic_ = false;
    Engine::DA::Model model_;
};

}  // namespace

std::unique_ptr<Family> makeDiscriminant() { return std::make_unique<Discriminant>(); }

}  // namespace Veltrix::Tool

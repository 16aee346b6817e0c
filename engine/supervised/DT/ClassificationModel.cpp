#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Engine/DT.h"
#include "engine/core/Checks.h"
#include "engine/core/ClassLabels.h"
#include "engine/supervised/DT/ClassShares.h"
#include "engine/supervised/DT/ClassTarget.h"
#include "engine/supervised/DT/FrameCoding.h"
#include "engine/supervised/DT/Growth.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::DT::Classification {
namespace {

/// Class codes of a response of numbers.
IntVector toCodes(const Vector& response, int numClasses) {
    IntVector codes;
    codes.reserve(response.size());
    for (std::uint64_t i = 0; i < response.size(); ++i) {
        const double code = response[i];
        if (!(code >= 0.0 && code < numClasses && code == std::floor(code))) {
            Checks::fail(ErrorCode::invalidArgument, "Tree fit",
                         "class code of record " + std::to_string(i) + " is " +
                             Support::numberText(code) + ", 0 to " +
                             std::to_string(numClasses - 1) + " expected");
        }
        codes.push_back(static_cast<int>(code));
    }
    return codes;
}

/// One more than the largest code.
int countClasses(const Vector& response) {
    double largest = -1.0;
    for (const double code : response) largest = std::max(largest, code);
    // More classes than records have classes without records.
    const double limit = static_cast<double>(response.size()) + 1e6;
    return static_cast<int>(std::min(std::floor(largest) + 1.0, limit));
}

/// Refuses columns of which no best subset can be found in reasonable time.
void checkCategories(const std::vector<int>& numCategories, std::size_t numClasses,
                     const StringVector& colNames) {
    if (numClasses <= 2) return;
    for (std::size_t j = 0; j < numCategories.size(); ++j) {
        if (numCategories[j] <= kMostEnumerated) continue;
        const std::string name = j < colNames.size() ? " (\"" + colNames[j].toUtf8() + "\")" : "";
        Checks::fail(ErrorCode::tooLarge, "Tree fit",
                     "column " + std::to_string(j) + name + " has " +
                         std::to_string(numCategories[j]) + " categories, with " +
                         std::to_string(numClasses) + " classes at most " +
                         std::to_string(kMostEnumerated) + " expected");
    }
}

/// The name that takes the place of a class; any other text stays.
WString renamedClass(const WString& label, const StringVector& from, const StringVector& to) {
    const auto found = std::find(begin(from), end(from), label);
    return found == end(from) ? label : to[static_cast<std::uint64_t>(found - begin(from))];
}

Model::PriorMap renamedPriors(const Model& model, const StringVector& names) {
    Model::PriorMap priors;
    for (const auto& [label, prior] : model.getPriors()) {
        priors[renamedClass(label, model.getClasses(), names)] = prior;
    }
    return priors;
}

/// Refuses a column of numbers that are not all there.
void checkLabels(const char* operation, const ConstDataFrameColumn& response) {
    if (response.getKind() == ColumnKind::numeric) {
        checkResponse(operation, response.toDoubleVector());
    }
}

}  // namespace

Model::~Model() = default;

static_assert(std::is_nothrow_move_constructible_v<Model>);
static_assert(std::is_nothrow_move_assignable_v<Model>);

void Model::grow(const Features& features, const IntVector& codes, const StringVector& classes,
                 const IntVector& categorical, InputColumns inputs) {
    checkShape(features.numRows(), features.numCols(), codes.size());
    Vector counts(classes.size());
    for (const int code : codes) counts[static_cast<std::uint64_t>(code)] += 1.0;
    Engine::Classification::Modelable roles(*this);
    roles.setClasses(classes);
    fitPriors(roles, counts);
    Categories categories = readCategories(features, categorical);
    checkCategories(categories.counts, classes.size(), inputs.names);
    const ClassShares shares(roles, std::vector<int>(counts.begin(), counts.end()));
    Growth growth(features, std::move(categories), params_,
                  ClassTarget(codes, shares, LabelRule(roles)));
    Model fitted(params_);  // so that a failure leaves this model as it is
    fitted.adopt(growth.run(), std::move(inputs));
    fitted.Modelable::operator=(std::move(roles));
    *this = std::move(fitted);
}

Model& Model::fit(const DataFrame& features, const ConstDataFrameColumn& response) {
    checkLabels("Tree fit", response);
    const CodedLabels coded = codeLabels(response, getClasses());
    requireClasses("Tree fit", response, coded.codes);
    const InputColumns inputs = learnColumns(features, params_.categorical);
    const IntVector categorical = knownColumns(features, inputs.categories);
    grow(FrameFeatures(features, inputs.categories), coded.codes, coded.classes, categorical,
         inputs);
    return *this;
}

Model& Model::fit(const Matrix& features, const Vector& response) {
    checkShape(features.getNumRows(), features.getNumCols(), response.size());
    const StringVector classes =
        getClasses().empty() ? numberedClasses(countClasses(response)) : getClasses();
    grow(MatrixFeatures(features), toCodes(response, static_cast<int>(classes.size())), classes,
         params_.categorical, {{}, {}, colNames_});
    return *this;
}

Model& Model::prune(const DataFrame& features, const ConstDataFrameColumn& response) {
    checkColumns("Tree prune", features.getNumCols());
    checkLabels("Tree prune", response);
    const IntVector codes = codeLabels(response, getClasses()).codes;
    prune(encodeFrame(features, frameColumns_, inputs_), Vector(codes.begin(), codes.end()));
    return *this;
}

Model& Model::select(int index) {
    DT::Model::select(index);
    return *this;
}

Model& Model::select(DecisionTree::TreeType type) {
    DT::Model::select(type);
    return *this;
}

Model& Model::selectManual(int maxDecisionNodes) {
    DT::Model::selectManual(maxDecisionNodes);
    return *this;
}

Model& Model::setParams(const Params& params) {
    DT::Model::setParams(params);
    return *this;
}

Model& Model::setColNames(const StringVector& names) {
    DT::Model::setColNames(names);
    return *this;
}

Model& Model::setClasses(const StringVector& classes) {
    Modelable renamed(*this);
    if (getRoot() != nullptr && classes.size() == getClasses().size()) {
        renamed.setPrior(renamedPriors(*this, classes));
        renamed.setSuccessClass(renamedClass(getSuccessClass(), getClasses(), classes));
    }
    renamed.setClasses(classes);
    if (classes.size() != getClasses().size()) forget();
    Modelable::operator=(std::move(renamed));
    return *this;
}

Model& Model::setSuccessClass(const WString& successClass) {
    Modelable::setSuccessClass(successClass);
    return *this;
}

Model& Model::setSuccessProbabilityCutoff(double cutoff) {
    Modelable::setSuccessProbabilityCutoff(cutoff);
    return *this;
}

Model& Model::setPrior(const WString& label, double prior) {
    Modelable::setPrior(label, prior);
    return *this;
}

Model& Model::setPrior(const PriorMap& priors) {
    Modelable::setPrior(priors);
    return *this;
}

Matrix Model::posteriors(const std::vector<const Node*>& leaves) const {
    Checks::fitted("Tree prediction", root_ != nullptr);  // else the classes are not known
    const ClassShares shares(*this, root_->training->totals());
    Matrix result(static_cast<int>(leaves.size()), getNumClasses());
    std::vector<double> row(shares.numClasses());
    for (int i = 0; i < result.getNumRows(); ++i) {
        const Node& leaf = *leaves[static_cast<std::size_t>(i)];
        shares.probabilities(leaf.training->countsOf(leaf), row);
        for (int c = 0; c < result.getNumCols(); ++c)
            result(i, c) = row[static_cast<std::size_t>(c)];
    }
    return result;
}

Vector Model::predictionsAt(const std::vector<const Node*>& nodes) const {
    Vector result(nodes.size(), std::numeric_limits<double>::quiet_NaN());
    if (!root_) return result;
    const ClassShares shares(*this, root_->training->totals());
    const LabelRule rule(*this);
    std::vector<double> probabilities(shares.numClasses());
    for (std::size_t k = 0; k < nodes.size(); ++k) {
        shares.probabilities(nodes[k]->training->countsOf(*nodes[k]), probabilities);
        result[k] = rule.label(probabilities);
    }
    return result;
}

StringVector Model::labels(const std::vector<const Node*>& leaves) const {
    StringVector result;
    for (const double code : predictionsAt(leaves)) {
        result.push_back(root_ ? getClasses()[static_cast<std::uint64_t>(code)] : WString(L"nan"));
    }
    return result;
}

Matrix Model::posteriorProbability(const DataFrame& records) const {
    return posteriors(findLeaves(records));
}

Matrix Model::posteriorProbability(const Matrix& records) const {
    return posteriors(findLeaves(records));
}

StringVector Model::predict(const DataFrame& records) const { return labels(findLeaves(records)); }
StringVector Model::predict(const Matrix& records) const { return labels(findLeaves(records)); }

double Model::predictionError(double prediction, double actual) const {
    return prediction == actual ? 0.0 : 1.0;
}

double Model::computeStdDevMinError() const {
    const double n = pruning_.numValidationRecords;
    const double e = pruning_.minError() / n;
    return std::sqrt(e * (1.0 - e) / n);
}

WString Model::describeLabel(const Node& node) const { return labels({&node})[0]; }

double Model::probabilityOfLabel(const Node& node) const {
    const Vector label = predictionsAt({&node});
    return posteriors({&node})(0, static_cast<int>(label[0]));
}

}  // namespace Veltrix::Engine::DT::Classification

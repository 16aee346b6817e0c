#include "Veltrix/Engine/Roles.h"

#include <type_traits>
#include <utility>

#include "Veltrix/Data/Util.h"
#include "engine/core/MapLookup.h"

namespace Veltrix::Engine {

Weightable::~Weightable() = default;

Weightable& Weightable::fit(const Vector& y) {
    if (weights_.empty()) weights_.assign(y.size(), 1.0);
    return *this;
}

Weightable& Weightable::fit(const StringVector& y) {
    if (weights_.empty()) weights_.assign(y.size(), 1.0);
    return *this;
}

Weightable& Weightable::normalizeWeights() {
    weights_ /= Veltrix::Util::sum(weights_);
    return *this;
}

const Vector& Weightable::getWeights() const { return weights_; }

Weightable& Weightable::setWeights(const Vector& weights) {
    weights_ = weights;
    return *this;
}

namespace Classification {

TargetCategorizable::TargetCategorizable(const StringVector& classes) : classes_(classes) {}
TargetCategorizable::~TargetCategorizable() = default;

int TargetCategorizable::getNumClasses() const { return static_cast<int>(classes_.size()); }
bool TargetCategorizable::isBinary() const { return classes_.size() == 2; }
const StringVector& TargetCategorizable::getClasses() const { return classes_; }

TargetCategorizable& TargetCategorizable::setClasses(const StringVector& classes) {
    classes_ = StringVector(classes);  // moved as a whole
    return *this;
}

BinaryTargetCategorizable::BinaryTargetCategorizable(const StringVector& classes)
    : TargetCategorizable(classes) {
    if (classes.size() == 2) successClass_ = classes[0];
}
BinaryTargetCategorizable::~BinaryTargetCategorizable() = default;

BinaryTargetCategorizable& BinaryTargetCategorizable::setClasses(const StringVector& classes) {
    TargetCategorizable::setClasses(classes);
    return *this;
}

const WString& BinaryTargetCategorizable::getSuccessClass() const { return successClass_; }

int BinaryTargetCategorizable::getSuccessClassIndex() const {
    const StringVector& classes = getClasses();
    return !classes.empty() && successClass_ == classes[0] ? 0 : 1;
}

double BinaryTargetCategorizable::getSuccessProbabilityCutoff() const { return cutoff_; }

BinaryTargetCategorizable& BinaryTargetCategorizable::setSuccessClass(const WString& successClass) {
    successClass_ = successClass;
    return *this;
}

BinaryTargetCategorizable& BinaryTargetCategorizable::setSuccessProbabilityCutoff(double cutoff) {
    cutoff_ = cutoff;
    return *this;
}

Priorable::~Priorable() = default;

Priorable& Priorable::setClasses(const StringVector& classes) {
    BinaryTargetCategorizable::setClasses(classes);
    return *this;
}

Priorable& Priorable::setSuccessClass(const WString& successClass) {
    BinaryTargetCategorizable::setSuccessClass(successClass);
    return *this;
}

Priorable& Priorable::setSuccessProbabilityCutoff(double cutoff) {
    BinaryTargetCategorizable::setSuccessProbabilityCutoff(cutoff);
    return *this;
}

namespace {

/// The classes' shares of the weights, or of the records.
Priorable::PriorMap sharesOf(const StringVector& labels, const Vector& weights,
                             const StringVector& classes) {
    const bool weighted = weights.size() == labels.size();
    const double total =
        weighted ? Veltrix::Util::sum(weights) : static_cast<double>(labels.size());
    Priorable::PriorMap shares;
    for (const WString& label : classes) shares[label] = 0.0;
    for (std::uint64_t i = 0; i < labels.size(); ++i) {
        shares[labels[i]] += weighted ? weights[i] : 1.0;
    }
    for (auto& [label, share] : shares) share /= total;
    return shares;
}

}  // namespace

Priorable& Priorable::fit(const StringVector& labels, const Vector& weights) {
    const StringVector classes =
        getClasses().empty() ? Veltrix::Util::uniqueElements(labels) : getClasses();
    PriorMap priors = priors_.empty() ? sharesOf(labels, weights, classes) : PriorMap();
    if (getClasses().empty()) setClasses(classes);
    if (priors_.empty()) priors_ = std::move(priors);  // nothing is left to fail
    return *this;
}

double Priorable::getPrior(const WString& label) const { return valueAt(priors_, label); }

const Priorable::PriorMap& Priorable::getPriors() const { return priors_; }

Vector Priorable::getPriorVector() const {
    Vector priors;
    priors.reserve(getClasses().size());
    for (const WString& label : getClasses()) priors.push_back(getPrior(label));
    return priors;
}

Priorable& Priorable::setPrior(const WString& label, double prior) {
    priors_[label] = prior;
    return *this;
}

Priorable& Priorable::setPrior(const PriorMap& priors) {
    priors_ = PriorMap(priors);  // moved as a whole
    return *this;
}

Modelable::~Modelable() = default;

Modelable& Modelable::setClasses(const StringVector& classes) {
    Priorable::setClasses(classes);
    return *this;
}

Modelable& Modelable::setSuccessClass(const WString& successClass) {
    Priorable::setSuccessClass(successClass);
    return *this;
}

Modelable& Modelable::setSuccessProbabilityCutoff(double cutoff) {
    Priorable::setSuccessProbabilityCutoff(cutoff);
    return *this;
}

Modelable& Modelable::setPrior(const WString& label, double prior) {
    Priorable::setPrior(label, prior);
    return *this;
}

Modelable& Modelable::setPrior(const PriorMap& priors) {
    Priorable::setPrior(priors);
    return *this;
}

static_assert(std::is_nothrow_move_constructible_v<Weightable>);
static_assert(std::is_nothrow_move_assignable_v<Weightable>);
static_assert(std::is_nothrow_move_assignable_v<BinaryTargetCategorizable>);

}  // namespace Classification
}  // namespace Veltrix::Engine

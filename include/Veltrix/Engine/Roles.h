#pragma once

#include <unordered_map>

#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// @file
/// Small base classes, each of which gives a model one role. All are values. Setters store their
/// argument unchecked and return the object, so that calls chain. An operation that fails (for
/// want of memory) leaves the object as it was.

namespace Veltrix::Engine {

/// Accepts one non-negative weight per training record.
class VELTRIX_ENGINE_API Weightable {
  public:
    Weightable() = default;
    Weightable(const Weightable&) = default;
    Weightable(Weightable&&) noexcept = default;
    Weightable& operator=(const Weightable&) = default;
    Weightable& operator=(Weightable&&) noexcept = default;
    virtual ~Weightable();

    /// Gives the model unit weights, one per entry of `y`, when it has none; weights already set
    /// are kept untouched.
    virtual Weightable& fit(const Vector& y);
    virtual Weightable& fit(const StringVector& y);
    /// Divides every weight by the sum of all weights; all-zero weights become NaN.
    virtual Weightable& normalizeWeights();
    virtual const Vector& getWeights() const;
    virtual Weightable& setWeights(const Vector& weights);

  private:
    Vector weights_;
};

namespace Classification {

/// Knows the class labels of its target, in a fixed order.
class VELTRIX_ENGINE_API TargetCategorizable {
  public:
    TargetCategorizable() = default;
    explicit TargetCategorizable(const StringVector& classes);
    TargetCategorizable(const TargetCategorizable&) = default;
    TargetCategorizable(TargetCategorizable&&) noexcept = default;
    TargetCategorizable& operator=(const TargetCategorizable&) = default;
    TargetCategorizable& operator=(TargetCategorizable&&) noexcept = default;
    virtual ~TargetCategorizable();

    virtual int getNumClasses() const;
    /// Exactly two classes.
    virtual bool isBinary() const;
    virtual const StringVector& getClasses() const;
    virtual TargetCategorizable& setClasses(const StringVector& classes);

  private:
    StringVector classes_;
};

/// Knows which class counts as success, and from which probability on.
class VELTRIX_ENGINE_API BinaryTargetCategorizable : public TargetCategorizable {
  public:
    BinaryTargetCategorizable() = default;
    /// Of exactly two labels the first becomes the success class; otherwise it stays empty.
    explicit BinaryTargetCategorizable(const StringVector& classes);
    BinaryTargetCategorizable(const BinaryTargetCategorizable&) = default;
    BinaryTargetCategorizable(BinaryTargetCategorizable&&) noexcept = default;
    BinaryTargetCategorizable& operator=(const BinaryTargetCategorizable& other) {
        return *this = BinaryTargetCategorizable(other);
    }
    BinaryTargetCategorizable& operator=(BinaryTargetCategorizable&&) noexcept = default;
    ~BinaryTargetCategorizable() override;

    BinaryTargetCategorizable& setClasses(const StringVector& classes) override;
    virtual const WString& getSuccessClass() const;
    /// 0 when the success class equals the first label, else 1 (also when it is no label at all).
    virtual int getSuccessClassIndex() const;
    virtual double getSuccessProbabilityCutoff() const;
    virtual BinaryTargetCategorizable& setSuccessClass(const WString& successClass);
    virtual BinaryTargetCategorizable& setSuccessProbabilityCutoff(double cutoff);

  private:
    WString successClass_;
    double cutoff_ = 0.5;
};

/// Holds prior class probabilities; those set by the user are never overwritten by a fit.
class VELTRIX_ENGINE_API Priorable : public BinaryTargetCategorizable {
  public:
    using PriorMap = std::unordered_map<WString, double>;

    using BinaryTargetCategorizable::BinaryTargetCategorizable;
    Priorable() = default;
    Priorable(const Priorable&) = default;
    Priorable(Priorable&&) noexcept = default;
    Priorable& operator=(const Priorable& other) { return *this = Priorable(other); }
    Priorable& operator=(Priorable&&) noexcept = default;
    ~Priorable() override;

    Priorable& setClasses(const StringVector& classes) override;
    Priorable& setSuccessClass(const WString& successClass) override;
    Priorable& setSuccessProbabilityCutoff(double cutoff) override;
    /// An empty class list becomes the distinct labels, ascending. When there are no priors yet
    /// they become the classes' shares of the weights, or of the records when `weights` has
    /// another length than `labels`; 0 for a class without records. Priors already there are kept.
    virtual Priorable& fit(const StringVector& labels, const Vector& weights);
    /// Throws `std::out_of_range` for a label without a prior.
    virtual double getPrior(const WString& label) const;
    virtual const PriorMap& getPriors() const;
    /// Priors in the order of the class list; throws as `getPrior`.
    virtual Vector getPriorVector() const;
    virtual Priorable& setPrior(const WString& label, double prior);
    virtual Priorable& setPrior(const PriorMap& priors);

  private:
    PriorMap priors_;
};

/// Common base of the classifiers.
class VELTRIX_ENGINE_API Modelable : public Priorable {
  public:
    using Priorable::Priorable;
    Modelable() = default;
    Modelable(const Modelable&) = default;
    Modelable(Modelable&&) noexcept = default;
    Modelable& operator=(const Modelable& other) { return *this = Modelable(other); }
    Modelable& operator=(Modelable&&) noexcept = default;
    ~Modelable() override;

    Modelable& setClasses(const StringVector& classes) override;
    Modelable& setSuccessClass(const WString& successClass) override;
    Modelable& setSuccessProbabilityCutoff(double cutoff) override;
    Modelable& setPrior(const WString& label, double prior) override;
    Modelable& setPrior(const PriorMap& priors) override;
};

}  // namespace Classification
}  // namespace Veltrix::Engine

#pragma once

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Export.h"

/// @file
/// Failures of the engine. Each has a fixed message and code and takes no arguments.

namespace Veltrix::Engine {

/// 502: fewer records than the operation needs.
class VELTRIX_ENGINE_API TooFewRecords : public Exception {
  public:
    TooFewRecords();
    TooFewRecords(const TooFewRecords&) noexcept = default;
    TooFewRecords& operator=(const TooFewRecords&) noexcept = default;
    ~TooFewRecords() override;
};

/// 523: a linkage that needs squared Euclidean geometry was asked for with another distance.
class VELTRIX_ENGINE_API HCIncompatibleDissimilarity : public Exception {
  public:
    HCIncompatibleDissimilarity();
    HCIncompatibleDissimilarity(const HCIncompatibleDissimilarity&) noexcept = default;
    HCIncompatibleDissimilarity& operator=(const HCIncompatibleDissimilarity&) noexcept = default;
    ~HCIncompatibleDissimilarity() override;
};

/// 526: the transaction lists do not fit in memory.
class VELTRIX_ENGINE_API ItemsetsTooLargeForArchitecture : public Exception {
  public:
    ItemsetsTooLargeForArchitecture();
    ItemsetsTooLargeForArchitecture(const ItemsetsTooLargeForArchitecture&) noexcept = default;
    ItemsetsTooLargeForArchitecture& operator=(const ItemsetsTooLargeForArchitecture&) noexcept =
        default;
    ~ItemsetsTooLargeForArchitecture() override;
};

/// 527: preprocessing left no term.
class VELTRIX_ENGINE_API TMEmptyVocabulary : public Exception {
  public:
    TMEmptyVocabulary();
    TMEmptyVocabulary(const TMEmptyVocabulary&) noexcept = default;
    TMEmptyVocabulary& operator=(const TMEmptyVocabulary&) noexcept = default;
    ~TMEmptyVocabulary() override;
};

/// 528: new documents share no term with the fitted vocabulary.
class VELTRIX_ENGINE_API TMNewDocsDontMatchVocabulary : public Exception {
  public:
    TMNewDocsDontMatchVocabulary();
    TMNewDocsDontMatchVocabulary(const TMNewDocsDontMatchVocabulary&) noexcept = default;
    TMNewDocsDontMatchVocabulary& operator=(const TMNewDocsDontMatchVocabulary&) noexcept = default;
    ~TMNewDocsDontMatchVocabulary() override;
};

/// 539: a category that was not seen when the encoder was fitted.
class VELTRIX_ENGINE_API OneHotEncoderFailure : public Exception {
  public:
    OneHotEncoderFailure();
    OneHotEncoderFailure(const OneHotEncoderFailure&) noexcept = default;
    OneHotEncoderFailure& operator=(const OneHotEncoderFailure&) noexcept = default;
    ~OneHotEncoderFailure() override;
};

/// 541: the starting values of a series model cannot be computed.
class VELTRIX_ENGINE_API InitialCoefficientEstimateFailure : public Exception {
  public:
    InitialCoefficientEstimateFailure();
    InitialCoefficientEstimateFailure(const InitialCoefficientEstimateFailure&) noexcept = default;
    InitialCoefficientEstimateFailure& operator=(
        const InitialCoefficientEstimateFailure&) noexcept = default;
    ~InitialCoefficientEstimateFailure() override;
};

/// 543: the response has a single value.
class VELTRIX_ENGINE_API UnaryResponseVariable : public Exception {
  public:
    UnaryResponseVariable();
    UnaryResponseVariable(const UnaryResponseVariable&) noexcept = default;
    UnaryResponseVariable& operator=(const UnaryResponseVariable&) noexcept = default;
    ~UnaryResponseVariable() override;
};

/// 544: stepwise regression with a removal threshold above the entry threshold.
class VELTRIX_ENGINE_API StepwiseRegressionFinFoutIncorrect : public Exception {
  public:
    StepwiseRegressionFinFoutIncorrect();
    StepwiseRegressionFinFoutIncorrect(const StepwiseRegressionFinFoutIncorrect&) noexcept =
        default;
    StepwiseRegressionFinFoutIncorrect& operator=(
        const StepwiseRegressionFinFoutIncorrect&) noexcept = default;
    ~StepwiseRegressionFinFoutIncorrect() override;
};

/// 545: softmax in a hidden layer.
class VELTRIX_ENGINE_API NNSoftmaxOnlyOutputLayer : public Exception {
  public:
    NNSoftmaxOnlyOutputLayer();
    NNSoftmaxOnlyOutputLayer(const NNSoftmaxOnlyOutputLayer&) noexcept = default;
    NNSoftmaxOnlyOutputLayer& operator=(const NNSoftmaxOnlyOutputLayer&) noexcept = default;
    ~NNSoftmaxOnlyOutputLayer() override;
};

/// 546: softmax with a loss whose gradient is not defined for it.
class VELTRIX_ENGINE_API NNSoftmaxUnableToComputeGradient : public Exception {
  public:
    NNSoftmaxUnableToComputeGradient();
    NNSoftmaxUnableToComputeGradient(const NNSoftmaxUnableToComputeGradient&) noexcept = default;
    NNSoftmaxUnableToComputeGradient& operator=(const NNSoftmaxUnableToComputeGradient&) noexcept =
        default;
    ~NNSoftmaxUnableToComputeGradient() override;
};

/// 547: more clusters than records.
class VELTRIX_ENGINE_API HCTooManyClustersRequested : public Exception {
  public:
    HCTooManyClustersRequested();
    HCTooManyClustersRequested(const HCTooManyClustersRequested&) noexcept = default;
    HCTooManyClustersRequested& operator=(const HCTooManyClustersRequested&) noexcept = default;
    ~HCTooManyClustersRequested() override;
};

/// 548: a distance matrix that is not symmetric, not square or has negative entries.
class VELTRIX_ENGINE_API HierarchicalClusteringDistanceMatrixInvalid : public Exception {
  public:
    HierarchicalClusteringDistanceMatrixInvalid();
    HierarchicalClusteringDistanceMatrixInvalid(
        const HierarchicalClusteringDistanceMatrixInvalid&) noexcept = default;
    HierarchicalClusteringDistanceMatrixInvalid& operator=(
        const HierarchicalClusteringDistanceMatrixInvalid&) noexcept = default;
    ~HierarchicalClusteringDistanceMatrixInvalid() override;
};

/// 549: a variable without spread within the classes.
class VELTRIX_ENGINE_API DAInvalidWithinClassVariance : public Exception {
  public:
    DAInvalidWithinClassVariance();
    DAInvalidWithinClassVariance(const DAInvalidWithinClassVariance&) noexcept = default;
    DAInvalidWithinClassVariance& operator=(const DAInvalidWithinClassVariance&) noexcept = default;
    ~DAInvalidWithinClassVariance() override;
};

}  // namespace Veltrix::Engine

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
};

/// 523: a linkage that needs squared Euclidean geometry was asked for with another distance.
class VELTRIX_ENGINE_API HCIncompatibleDissimilarity : public Exception {
  public:
    HCIncompatibleDissimilarity();
};

/// 526: the transaction lists do not fit in memory.
class VELTRIX_ENGINE_API ItemsetsTooLargeForArchitecture : public Exception {
  public:
    ItemsetsTooLargeForArchitecture();
};

/// 527: preprocessing left no term.
class VELTRIX_ENGINE_API TMEmptyVocabulary : public Exception {
  public:
    TMEmptyVocabulary();
};

/// 528: new documents share no term with the fitted vocabulary.
class VELTRIX_ENGINE_API TMNewDocsDontMatchVocabulary : public Exception {
  public:
    TMNewDocsDontMatchVocabulary();
};

/// 539: a category that was not seen when the encoder was fitted.
class VELTRIX_ENGINE_API OneHotEncoderFailure : public Exception {
  public:
    OneHotEncoderFailure();
};

/// 541: the starting values of a series model cannot be computed.
class VELTRIX_ENGINE_API InitialCoefficientEstimateFailure : public Exception {
  public:
    InitialCoefficientEstimateFailure();
};

/// 543: the response has a single value.
class VELTRIX_ENGINE_API UnaryResponseVariable : public Exception {
  public:
    UnaryResponseVariable();
};

/// 544: stepwise regression with a removal threshold above the entry threshold.
class VELTRIX_ENGINE_API StepwiseRegressionFinFoutIncorrect : public Exception {
  public:
    StepwiseRegressionFinFoutIncorrect();
};

/// 545: softmax in a hidden layer.
class VELTRIX_ENGINE_API NNSoftmaxOnlyOutputLayer : public Exception {
  public:
    NNSoftmaxOnlyOutputLayer();
};

/// 546: softmax with a loss whose gradient is not defined for it.
class VELTRIX_ENGINE_API NNSoftmaxUnableToComputeGradient : public Exception {
  public:
    NNSoftmaxUnableToComputeGradient();
};

/// 547: more clusters than records.
class VELTRIX_ENGINE_API HCTooManyClustersRequested : public Exception {
  public:
    HCTooManyClustersRequested();
};

/// 548: a distance matrix that is not symmetric, not square or has negative entries.
class VELTRIX_ENGINE_API HierarchicalClusteringDistanceMatrixInvalid : public Exception {
  public:
    HierarchicalClusteringDistanceMatrixInvalid();
};

/// 549: a variable without spread within the classes.
class VELTRIX_ENGINE_API DAInvalidWithinClassVariance : public Exception {
  public:
    DAInvalidWithinClassVariance();
};

}  // namespace Veltrix::Engine

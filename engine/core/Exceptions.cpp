#include "Veltrix/Engine/Exceptions.h"

namespace Veltrix::Engine {

TooFewRecords::TooFewRecords() : Exception("Too few records!", 502) {}

HCIncompatibleDissimilarity::HCIncompatibleDissimilarity()
    : Exception("Chosen cluster dissimilarity is compatible with Euclidean metric only.", 523) {}

ItemsetsTooLargeForArchitecture::ItemsetsTooLargeForArchitecture()
    : Exception(
          "The itemsets structure is too large to be allocated in the given architecture. "
          "Consider reducing number of observations and/or altering other parameters.",
          526) {}

// The texts of the next two sit crosswise to the class names; callers rely on them as they are.
TMEmptyVocabulary::TMEmptyVocabulary()
    : Exception(
          "New collection of documents does not contain any terms from the model's vocabulary.",
          527) {}

TMNewDocsDontMatchVocabulary::TMNewDocsDontMatchVocabulary()
    : Exception(
          "Resulting vocabulary is empty. Verify that collection of documents contains terms or "
          "change the preprocessing options.",
          528) {}

OneHotEncoderFailure::OneHotEncoderFailure()
    : Exception("Encoding failure: some values from new data do not exist in training data.", 539) {
}

InitialCoefficientEstimateFailure::InitialCoefficientEstimateFailure()
    : Exception(
          "Failed to compute the initial estimates for the coefficients due to machine precision "
          "in a given architecture.",
          541) {}

// Shares the encoder's text under a code of its own; callers tell them apart by the code.
UnaryResponseVariable::UnaryResponseVariable()
    : Exception("Encoding failure: some values from new data do not exist in training data.", 543) {
}

StepwiseRegressionFinFoutIncorrect::StepwiseRegressionFinFoutIncorrect()
    : Exception("F-out must be less than F-in.", 544) {}

NNSoftmaxOnlyOutputLayer::NNSoftmaxOnlyOutputLayer()
    : Exception("Softmax activation can be used only in output layer.", 545) {}

NNSoftmaxUnableToComputeGradient::NNSoftmaxUnableToComputeGradient()
    : Exception("Unable to compute gradient for Softmax activation function.", 546) {}

HCTooManyClustersRequested::HCTooManyClustersRequested()
    : Exception("Number of clusters cannot exceed number of records in data.", 547) {}

HierarchicalClusteringDistanceMatrixInvalid::HierarchicalClusteringDistanceMatrixInvalid()
    : Exception("Distance matrix is not valid.", 548) {}

DAInvalidWithinClassVariance::DAInvalidWithinClassVariance()
    : Exception(
          "One or more variables has zero or invalid within-class variance. Consider excluding "
          "the variables that are constant within groups or could otherwise cause covariance "
          "matrix deficiency.",
          549) {}

// Out of line, so that the type information of each stands in this library alone.
TooFewRecords::~TooFewRecords() = default;
HCIncompatibleDissimilarity::~HCIncompatibleDissimilarity() = default;
ItemsetsTooLargeForArchitecture::~ItemsetsTooLargeForArchitecture() = default;
TMEmptyVocabulary::~TMEmptyVocabulary() = default;
TMNewDocsDontMatchVocabulary::~TMNewDocsDontMatchVocabulary() = default;
OneHotEncoderFailure::~OneHotEncoderFailure() = default;
InitialCoefficientEstimateFailure::~InitialCoefficientEstimateFailure() = default;
UnaryResponseVariable::~UnaryResponseVariable() = default;
StepwiseRegressionFinFoutIncorrect::~StepwiseRegressionFinFoutIncorrect() = default;
NNSoftmaxOnlyOutputLayer::~NNSoftmaxOnlyOutputLayer() = default;
NNSoftmaxUnableToComputeGradient::~NNSoftmaxUnableToComputeGradient() = default;
HCTooManyClustersRequested::~HCTooManyClustersRequested() = default;
HierarchicalClusteringDistanceMatrixInvalid::~HierarchicalClusteringDistanceMatrixInvalid() =
    default;
DAInvalidWithinClassVariance::~DAInvalidWithinClassVariance() = default;

}  // namespace Veltrix::Engine

#pragma once

#include <memory>

#include "tools/veltrix/host/Family.h"

/// @file
/// One function for each family of models; `makeFamily` finds them by name.

namespace Veltrix::Tool {

/// Linear regression by least squares.
std::unique_ptr<Family> makeRegression();
/// Probabilities of two classes by logistic regression.
std::unique_ptr<Family> makeLogistic();
/// Choice of predictors for linear and logistic regression.
std::unique_ptr<Family> makeSelection();
/// Classes or numbers of records from the training records nearest to them.
std::unique_ptr<Family> makeNeighbours();
/// Classes from the frequencies of categories.
std::unique_ptr<Family> makeNaiveBayes();
/// Decision trees for classes or numbers, pruned on the validation part.
std::unique_ptr<Family> makeTree();
/// Linear and quadratic discriminant analysis.
std::unique_ptr<Family> makeDiscriminant();
/// Feed-forward neural networks for classes or numbers.
std::unique_ptr<Family> makeNetwork();
/// Clusters of similar rows.
std::unique_ptr<Family> makeKMeans();
/// Trees of clusters, of rows or of items with distances between them.
std::unique_ptr<Family> makeHierarchical();

/// Itemsets that are frequent in transactions, and rules of them.
std::unique_ptr<Family> makeRules();
/// Terms and concepts of documents.
std::unique_ptr<Family> makeText();
/// Principal components of the columns.
std::unique_ptr<Family> makePrincipalComponents();
/// Directions in which classes differ most.
std::unique_ptr<Family> makeCanonicalVariates();

/// Autocorrelations of a series, differenced on demand.
std::unique_ptr<Family> makeAutocorrelations();
/// ARIMA and seasonal ARIMA models of a series.
std::unique_ptr<Family> makeArima();
/// Smoothed values and forecasts of a series.
std::unique_ptr<Family> makeSmoothing();

}  // namespace Veltrix::Tool

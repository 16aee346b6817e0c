#pragma once

namespace Veltrix {

/// Storage order of a matrix.
enum class MatrixOrderType : int { rowMajor = 0, columnMajor = 1 };

/// Direction of a reordering by a permutation P.
/// - `forward`: entry k of the result is entry P(k) of the input;
/// - `inverse`: undoes a forward reordering with the same P.
enum class PermutationType : int { forward = 1, inverse = 2 };

/// Side on which a factor stands in a product or a system.
enum class SideType : int { left = 1, right = 2 };

/// Triangle of a matrix that holds a triangular factor.
enum class TriangularityType : int { upper = 1, lower = 2 };

/// Distance between two rows a, b of a matrix.
/// The binary forms take an entry as present when it is not 0.
enum class DissimilarityType : int {
    euclidean = 1,       ///< √Σ(aⱼ − bⱼ)²
    jaccard = 2,         ///< 1 − (both present)/(either present); 0 when neither row has any
    simpleMatching = 3,  ///< share of columns that are present in one row only
    manhattan = 4,       ///< Σ|aⱼ − bⱼ|
    maximum = 5,         ///< max|aⱼ − bⱼ|
    cosine = 6,          ///< 1 − aᵀb/(‖a‖‖b‖)
    correlation = 7      ///< 1 − Pearson correlation of the rows
};

/// Order of a selection or sort.
enum class Ordering : int { largestFirst = 0, smallestFirst = 1 };

/// Norm of a row or column.
enum class NormType : int { sumOfAbsoluteValues = 1, euclidean = 2, largestAbsoluteValue = 3 };

namespace KNearestNeighbors {

/// What the vote of a neighbour weighs. `unspecified` counts as `equalVotes`.
enum class WeightingScheme : int { unspecified = 0, equalVotes = 1, inverseDistance = 2 };

}  // namespace KNearestNeighbors

namespace DecisionTree {

/// Trees of a pruning sequence that have a name. `selected` is the one selected last.
enum class TreeType : int { full = 1, bestPruned = 2, minimumError = 3, selected = 4 };

}  // namespace DecisionTree

}  // namespace Veltrix

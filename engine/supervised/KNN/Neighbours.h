#pragma once

#include <functional>

#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/KNN.h"

/// @file
/// Neighbours of scored records and their weights.

namespace Veltrix::Engine::KNN {

/// How neighbours are chosen and weighed.
struct Query {
    int k;
    bool includeTies;
    bool skipNaN;
    KNearestNeighbors::WeightingScheme scheme;
};

/// Throws `Exception` unless there are records, and as many responses and weights, each of which is
/// a finite number of at least 0.
void checkTraining(const Matrix& features, std::uint64_t responses, const Vector& weights);

/// Whether the model holds training records. Throws `Exception` unless k is at least 1 and, when
/// there are training records, they fit together and have the columns of `records`; `numberOf` is
/// the name of k.
bool checkQuery(const Model& model, std::uint64_t responses, const Matrix& records, int k,
                const char* numberOf);
/// Throws `Exception` unless there is an actual value for every record.
void checkActual(const Matrix& records, std::uint64_t actual);

/// Receives the neighbours of a record as rows (training record, squared distance), ascending, and
/// the weight of each.
using Visit = std::function<void(int record, const Matrix& neighbours, const Vector& weights)>;

/// Visits the neighbours of every record in turn, of some perhaps twice.
void visitNeighbours(const Model& model, const Matrix& records, const Query& query,
                     const Visit& visit);

/// How many of the neighbours belong to the list for k: the first k and, with ties, those that
/// follow as long as each is as far as the one before.
int lengthOfList(const Matrix& neighbours, int k, bool includeTies);

/// The errors of k = 1, 2, …, the last one also that of all further k up to `maxK`, as a log with
/// the column `measure`, and the first least one.
KSearchInfo searchInfo(Vector errors, int maxK, const wchar_t* measure);
/// The same for a model without training records: errors NaN, and none is least.
KSearchInfo emptySearch(int maxK, const wchar_t* measure);

}  // namespace Veltrix::Engine::KNN

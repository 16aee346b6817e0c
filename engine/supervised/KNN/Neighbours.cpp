#include "engine/supervised/KNN/Neighbours.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/NearestRows.h"
#include "Veltrix/Data/Progress.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine::KNN {
namespace {

constexpr const char* kOperation = "Nearest neighbours";

void checkLengths(const Matrix& features, std::uint64_t responses, std::uint64_t weights) {
    const int n = features.getNumRows();
    Checks::atLeast(kOperation, "training records", n, 1);
    Checks::onePerRecord(kOperation, "responses", responses, n);
    Checks::onePerRecord(kOperation, "weights", weights, n);
}

/// Weights of the neighbours: the record weights, over the distances relative to the least one when
/// they count.
void weigh(const Matrix& neighbours, const Vector& recordWeights,
           KNearestNeighbors::WeightingScheme scheme, Vector& weights) {
    const bool inverse = scheme == KNearestNeighbors::WeightingScheme::inverseDistance;
    weights.resize(static_cast<std::uint64_t>(neighbours.getNumRows()));
    for (int i = 0; i < neighbours.getNumRows(); ++i) {
        double weight = 1.0;
        if (inverse) {
            // After an exact match every other quotient is infinite: it has no vote.
            const double distance = neighbours(i, 1);
            const bool match = Veltrix::Util::equal(distance, 0.0);
            weight = 1.0 / (match ? 1.0 : distance / neighbours(0, 1));
        }
        const auto record = static_cast<std::uint64_t>(neighbours(i, 0));
        weights[static_cast<std::uint64_t>(i)] = weight * recordWeights[record];
    }
}

}  // namespace

void checkTraining(const Matrix& features, std::uint64_t responses, const Vector& weights) {
    checkLengths(features, responses, weights.size());
    Checks::weights(kOperation, weights, features.getNumRows(), false);
}

bool checkQuery(const Model& model, std::uint64_t responses, const Matrix& records, int k,
                const char* numberOf) {
    const Matrix& features = model.getTrainingFeatures();
    Checks::atLeast(kOperation, numberOf, k, 1);
    if (features.getNumRows() == 0 && responses == 0) return false;
    checkLengths(features, responses, model.getWeights().size());
    Checks::columns(kOperation, records.getNumCols(), features.getNumCols());
    return true;
}

void checkActual(const Matrix& records, std::uint64_t actual) {
    Checks::onePerRecord(kOperation, "actual values", actual, records.getNumRows());
}

void visitNeighbours(const Model& model, const Matrix& records, const Query& query,
                     const Visit& visit) {
    const Matrix& features = model.getTrainingFeatures();
    const int k = std::min(query.k, features.getNumRows());
    Vector weights;
    const auto score = [&](int record, const Matrix& neighbours) {
        weigh(neighbours, model.getWeights(), query.scheme, weights);
        visit(record, neighbours, weights);
    };
    try {
        visitNearestRows(records, features, k, query.includeTies, query.skipNaN, score);
        return;
    } catch (const std::bad_alloc&) {     // one record at a time needs least
    } catch (const std::length_error&) {  // sizes beyond the address space
    }
    ProgressPhase phase("Finding neighbours", static_cast<std::uint64_t>(records.getNumRows()));
    for (int i = 0; i < records.getNumRows(); ++i) {
        const Vector record = Convert::toDoubleVector(records(i, Veltrix::Util::all));
        score(i, Veltrix::Util::kTop(Veltrix::Util::pairwiseDistance(record, features, true), k,
                                     query.includeTies, query.skipNaN, Ordering::smallestFirst));
        phase.advance();
    }
}

int lengthOfList(const Matrix& neighbours, int k, bool includeTies) {
    const int all = neighbours.getNumRows();
    int length = std::min(k, all);
    while (includeTies && length > 0 && length < all &&
           Veltrix::Util::equal(neighbours(length, 1), neighbours(length - 1, 1))) {
        ++length;
    }
    return length;
}

KSearchInfo searchInfo(Vector errors, int maxK, const wchar_t* measure) {
    KSearchInfo info;
    info.bestK = Veltrix::Util::minIndex(errors) + 1;
    errors.resize(static_cast<std::uint64_t>(maxK), errors.back());
    StringVector names;
    for (int k = 1; k <= maxK; ++k) names.push_back(Convert::toString(k));
    info.searchLog.setName(L"Search Log");
    errors.setName(measure);
    info.searchLog.append(std::move(errors));
    info.searchLog.setRowNames(names);
    return info;
}

KSearchInfo emptySearch(int maxK, const wchar_t* measure) {
    KSearchInfo info =
        searchInfo(Vector(1, std::numeric_limits<double>::quiet_NaN()), maxK, measure);
    info.bestK = 0;
    return info;
}

}  // namespace Veltrix::Engine::KNN

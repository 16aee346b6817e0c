#pragma once

#include <string_view>
#include <utility>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/Enumerations.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Engine/FrameForms.h"
#include "Veltrix/Engine/Roles.h"
#include "Veltrix/Export.h"

/// @file
/// Classification and regression by the k nearest training records (Fix and Hodges 1951; Cover and
/// Hart 1967).
///
/// A fit only stores. For every record to be scored the k training records at the least squared
/// Euclidean distance dᵢ are its neighbours, and each has the weight
///
///     wᵢ = vᵢ          (equal votes)
///     wᵢ = vᵢ d₁/dᵢ    (inverse distance, d₁ the least; vᵢ for dᵢ = 0, and then 0 for all others)
///
/// with vᵢ the weight of the training record. Shapes: training features n × p, response and record
/// weights of length n, records to be scored m × p.
///
/// Flags of the queries: `includeTies` adds every further training record whose distance equals the
/// k-th (`Util::equal`); without it the record that comes first in the training data is taken.
/// `skipNaN` leaves out training records whose distance is NaN; otherwise they come last, in
/// training order. A k above n takes all training records.
///
/// A record whose neighbours' weights sum to 0 or NaN gets NaN. Without any neighbour every
/// probability is 0, so that the class prediction falls to the priors, and a mean is NaN. Before a
/// fit predictions and errors are NaN; probabilities throw `Exception`, for their classes are not
/// known. So does a query when features, response and weights differ in length, the number of
/// columns differs from training, or k is below 1. The time is
/// O(m n p). Memory beyond the result stays below 32 MiB plus 200 bytes for each of the k
/// neighbours and 16 for each training record, whatever m; when an allocation fails the records are
/// scored one by one, which needs least, with the same results. Queries report progress. A fitted
/// model may be read from several threads.

namespace Veltrix::Engine {

namespace KNN {

using KNearestNeighbors::WeightingScheme;

/// What a search over k found.
struct KSearchInfo {
    int bestK = 0;        ///< the k of the least error, the smallest such k; 0 before a fit
    DataFrame searchLog;  ///< "Search Log": one column, rows "1", "2", …, maxK
};

/// What both forms share: the training features and record weights.
class VELTRIX_ENGINE_API Model : public Weightable {
  public:
    using Weightable::fit;
    /// The frame forms convert their columns (bad-cast error when a cell is not a number). Queries
    /// match frames to that of the fit by `FrameColumns`.
    virtual Model& fit(const DataFrame& x, const ConstDataFrameColumn& response) = 0;
    virtual Model& fit(const DataFrame& x, const ConstDataFrameColumn& response,
                       const ConstDataFrameColumn& weights) = 0;
    virtual KSearchInfo kSearch(const DataFrame& records, const ConstDataFrameColumn& actual,
                                int maxK, bool includeTies, bool skipNaN,
                                WeightingScheme scheme) const = 0;

    /// Stored unchecked; what does not fit together is refused by the next query. Frames are
    /// matched by position from then on.
    virtual Model& setTrainingFeatures(const Matrix& x);
    virtual const Matrix& getTrainingFeatures() const;
    /// Empty after a fit on a matrix.
    const FrameColumns& getFrameColumns() const noexcept { return columns_; }
    Model& setWeights(const Vector& weights) override;

  protected:
    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model&) = default;
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    /// Fits `self` on the frame's matrix and notes the frame's columns.
    template <class Self, class... Rest>
    static Self& fitFrame(Self& self, const DataFrame& x, const Rest&... rest) {
        FrameColumns columns(x.getColNames());
        self.fit(Convert::toMatrix(x), rest...);
        static_cast<Model&>(self).columns_ = std::move(columns);
        return self;
    }

  private:
    friend struct Stored<Model>;

    Matrix features_;
    FrameColumns columns_;
};

}  // namespace KNN

namespace Classification::KNN {

/// Posterior probability of class c: the share Σ wᵢ [class of i = c] / Σ wᵢ of the neighbours'
/// weights. Priors act through the record weights: after a fit those of every class sum to the
/// class's prior, 0 included. Unless set before, priors are the shares of the record weights (the
/// counts when all are 1), and the class list is the distinct labels in ascending order.
///
/// A fit throws `Exception` when there is no record, lengths differ, or a weight is negative or not
/// finite, and `std::out_of_range` when a label has no prior or is no class; the model is then as
/// it was before. A second fit keeps the weights, priors and classes of the first unless they are
/// set anew.
class VELTRIX_ENGINE_API Model : public Engine::KNN::Model,
                                 public Modelable,
                                 public JSON::Storable {
  public:
    using WeightingScheme = KNearestNeighbors::WeightingScheme;
    using KSearchInfo = Engine::KNN::KSearchInfo;

    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    using Engine::KNN::Model::fit;
    using Modelable::fit;
    Model& fit(const Matrix& x, const StringVector& response);
    /// Fits with `weights`, one non-negative number per record.
    Model& fit(const Matrix& x, const StringVector& response, const Vector& weights);
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& response) override;
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& response,
               const ConstDataFrameColumn& weights) override;

    Model& setTrainingFeatures(const Matrix& x) override;
    /// Stored unchecked, as the features are.
    virtual Model& setTrainingResponse(const StringVector& response);
    virtual const StringVector& getTrainingResponse() const;
    Model& setWeights(const Vector& weights) override;
    Model& setClasses(const StringVector& classes) override;
    Model& setSuccessClass(const WString& successClass) override;
    Model& setSuccessProbabilityCutoff(double cutoff) override;
    Model& setPrior(const WString& label, double prior) override;
    Model& setPrior(const PriorMap& priors) override;

    /// One row per record, one column per class in the order of the class list; the name is
    /// "Posterior Probability: " and that of `records`. A class that no neighbour has gets 0.
    DataFrame posteriorProbability(const Matrix& records, int k, bool includeTies, bool skipNaN,
                                   WeightingScheme scheme) const;
    DataFrame posteriorProbability(const DataFrame& records, int k, bool includeTies, bool skipNaN,
                                   WeightingScheme scheme) const;

    /// The error "% Misclassification" (100 − 100·accuracy of the class prediction with this
    /// model's priors, success class and cutoff) for every k from 1 to `maxK`. Distances are
    /// computed once; the neighbours for k are the first k of those for maxK and, with
    /// `includeTies`, those that follow as long as each equals the one before. Throws as the other
    /// queries, and when there are not as many actual classes as records. Memory: 8 bytes for each
    /// record, class and k.
    KSearchInfo kSearch(const Matrix& records, const StringVector& actual, int maxK,
                        bool includeTies, bool skipNaN, WeightingScheme scheme) const;
    KSearchInfo kSearch(const DataFrame& records, const ConstDataFrameColumn& actual, int maxK,
                        bool includeTies, bool skipNaN, WeightingScheme scheme) const override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    /// Each weight v of a record of class c becomes v·prior(c)/(sum of the weights of c), but 0
    /// stays 0.
    Model& normalizeWeights() override;

    StringVector response_;
};

}  // namespace Classification::KNN

namespace Regression::KNN {

/// Prediction: the weighted mean Σ wᵢyᵢ / Σ wᵢ of the neighbours' responses. A fit throws
/// `Exception` when there is no record, lengths differ, or a weight is negative or not finite; the
/// model is then as it was before. A second fit keeps the weights of the first unless they are set
/// anew.
class VELTRIX_ENGINE_API Model : public Engine::KNN::Model, public JSON::Storable {
  public:
    using WeightingScheme = KNearestNeighbors::WeightingScheme;
    using KSearchInfo = Engine::KNN::KSearchInfo;

    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    using Engine::KNN::Model::fit;
    Model& fit(const Matrix& x, const Vector& response);
    /// Fits with `weights`, one non-negative number per record.
    Model& fit(const Matrix& x, const Vector& response, const Vector& weights);
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& response) override;
    Model& fit(const DataFrame& x, const ConstDataFrameColumn& response,
               const ConstDataFrameColumn& weights) override;

    Model& setTrainingFeatures(const Matrix& x) override;
    /// Stored unchecked, as the features are.
    virtual Model& setTrainingResponse(const Vector& response);
    virtual const Vector& getTrainingResponse() const;
    Model& setWeights(const Vector& weights) override;
    Model& normalizeWeights() override;

    /// One row per record, one column "Prediction"; the name is "Scores: " and that of `records`.
    DataFrame predict(const Matrix& records, int k, bool includeTies, bool skipNaN,
                      WeightingScheme scheme) const;
    DataFrame predict(const DataFrame& records, int k, bool includeTies, bool skipNaN,
                      WeightingScheme scheme) const;

    /// The "RMSE" of the predictions for every k from 1 to `maxK`, otherwise as for classification;
    /// memory: 8 bytes for each record and k.
    KSearchInfo kSearch(const Matrix& records, const Vector& actual, int maxK, bool includeTies,
                        bool skipNaN, WeightingScheme scheme) const;
    KSearchInfo kSearch(const DataFrame& records, const ConstDataFrameColumn& actual, int maxK,
                        bool includeTies, bool skipNaN, WeightingScheme scheme) const override;

  protected:
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;

  private:
    friend struct Stored<Model>;

    Vector response_;
};

}  // namespace Regression::KNN
}  // namespace Veltrix::Engine

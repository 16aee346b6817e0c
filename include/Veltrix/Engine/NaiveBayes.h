#pragma once

#include <string_view>
#include <unordered_map>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/JSON.h"
#include "Veltrix/Data/Matrix.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/Vector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// @file
/// Naive Bayes for categories: a class is as probable as its prior times the product of the
/// probabilities that its records have the categories found,
///
///     P(class | record) ∝ P(class) · Π P(category of feature f | class),
///
/// as if features were independent within a class (Maron 1961). Every column is categorical: the
/// text of a cell (`Convert::toString`) is its category, so that each different number is one of
/// its own, and so are an empty text and NaN ("nan").
///
///     Model counts = computeFrequency(features, target, 1.0, priors);
///     Model model = frequencyToPriorConditionalProbability(counts);
///     PosteriorProbabilityInfo scored = computePosteriorProbability(model, records, false);
///
/// All functions take their operands as values: a failure leaves nothing changed. They report
/// progress, and models may be read from several threads.

namespace Veltrix::Classification::NaiveBayes::Engine {

/// What training counted, or the probabilities made of it. The host may build it from parts;
/// nothing is checked until it is used.
struct VELTRIX_ENGINE_API Model : JSON::Storable {
    using ClassValues = std::unordered_map<WString, double>;       ///< by class
    using CategoryMap = std::unordered_map<WString, ClassValues>;  ///< by category
    using FeatureMap = std::unordered_map<WString, CategoryMap>;   ///< by feature
    using ClassCounts = std::unordered_map<WString, int>;          ///< by class

    static constexpr int kFrequencies = 1;
    static constexpr int kProbabilities = 2;

    Model() = default;
    Model(const Model&) = default;
    Model(Model&&) noexcept = default;
    Model& operator=(const Model& other) { return *this = Model(other); }
    Model& operator=(Model&&) noexcept = default;
    ~Model() override;

    /// Inserts or overwrites one value of `featureValueClassCount`.
    Model& setFeatureValueClassCount(const WString& feature, const WString& value,
                                     const WString& cls, double count);
    /// Inserts or overwrites the number of training records of a class.
    Model& setTargetCount(const WString& cls, int count);
    /// Replaces all priors.
    Model& setPriorProbs(const ClassValues& priors);
    /// Names of the features, in the order of the map.
    [[nodiscard]] StringVector getFeatures() const;

    /// Training records with a category, by feature, category and class; P(category | class) in
    /// state 2. Every category that training met has an entry for every class.
    FeatureMap featureValueClassCount;
    ClassCounts targetCount;   ///< training records of each class
    ClassValues priorProbs;    ///< as supplied
    double alpha = 0.0;        ///< added to every count
    int state = kFrequencies;  ///< whether it holds frequencies or probabilities

  protected:
    /// Everything, in ascending order of the texts. Reading refuses counts below 0 and a state
    /// other than 1 and 2.
    void writeJson(JSON::TextSink& sink) const override;
    void readJson(std::string_view utf8) override;
};

/// Log posteriors, up to the sum over classes: ln P(class) + Σ ln P(category | class).
struct VELTRIX_ENGINE_API LogPosterioriInfo {
    Matrix logPosteriors;                           ///< records × classes, row-major
    std::unordered_map<WString, int> classIndexes;  ///< column of each class; ascending by label
    IntVector unknownRows;  ///< records with a category that the model lacks, ascending; NaN rows
};

/// Posterior probabilities.
struct VELTRIX_ENGINE_API PosteriorProbabilityInfo {
    PosteriorProbabilityInfo() = default;
    /// Takes the log posteriors for the probabilities, as a start of computing them.
    explicit PosteriorProbabilityInfo(LogPosterioriInfo info);

    Matrix posteriors;  ///< records × classes, row-major; rows sum to 1, or are NaN
    std::unordered_map<WString, int> classIndexes;
    IntVector unknownRows;
    Vector logLikelihoods;  ///< ln P(record), NaN of unknown rows; only on request
};

/// Counts, in state 1. Throws `UnaryResponseVariable` for fewer than two classes, and `Exception`
/// for features and target of different lengths (code 1) and an alpha that is not finite or below 0
/// (3). Priors are kept as they are. Columns of one name count as one feature. O(records · columns)
/// and the size of the result.
[[nodiscard]] VELTRIX_ENGINE_API Model computeFrequency(const DataFrame& features,
                                                        const ConstDataFrameColumn& target,
                                                        double alpha,
                                                        const Model::ClassValues& priors);

/// Makes probabilities of frequencies with additive smoothing,
///
///     P(v | c) = (count(f, v, c) + α)/(targetCount(c) + α V(f)),
///
/// V(f) the number of categories of the feature. With α = 0 what never occurred has probability 0.
/// A model in state 2 is returned unchanged. Throws `std::out_of_range` for a class without a
/// target count.
[[nodiscard]] VELTRIX_ENGINE_API Model frequencyToPriorConditionalProbability(Model model);

/// Log posteriors of records whose column names are those of the features, in any order. Empty when
/// the model is not in state 2. Throws `std::out_of_range` ("invalid unordered_map<K, T> key") when
/// a feature has no column, a column is no feature, a class has no prior, or a category that occurs
/// has no value for a class. O(records · columns · classes). Beside the result, columns of numbers
/// take a byte a record and at most 8 MiB, texts a code a record.
[[nodiscard]] VELTRIX_ENGINE_API LogPosterioriInfo computeLogPosteriori(const Model& model,
                                                                        const DataFrame& records);

/// Posterior probabilities exp(l − m)/s of a record's log posteriors l, with m the largest and s
/// the sum of exp(l − m). With `withLogLikelihood` also ln s + m, the log likelihood of the record.
/// A record that is impossible in all classes has m = -inf and gets NaN.
[[nodiscard]] VELTRIX_ENGINE_API PosteriorProbabilityInfo
computePosteriorProbability(LogPosterioriInfo info, bool withLogLikelihood);

/// `computeLogPosteriori` followed by the same.
[[nodiscard]] VELTRIX_ENGINE_API PosteriorProbabilityInfo
computePosteriorProbability(const Model& model, const DataFrame& records, bool withLogLikelihood);

}  // namespace Veltrix::Classification::NaiveBayes::Engine

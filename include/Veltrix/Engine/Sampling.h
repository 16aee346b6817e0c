#pragma once

#include <cstdint>
#include <vector>

#include "Veltrix/Data/DataFrame.h"
#include "Veltrix/Data/IntVector.h"
#include "Veltrix/Data/StringVector.h"
#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

/// @file
/// Random samples and partitions of the records 0 … N − 1.
///
/// Every record gets a random key u in [0, 1], a multiple of 1/32767 from the runtime generator.
/// Records whose key lies below a low threshold q₁ are taken at once, those below a high threshold
/// q₂ join a wait list, and the wait list, sorted by key, tops the sample up. One pass over the
/// records suffices, and memory grows with the size of the sample and of the wait list only, not
/// with N (Meng 2013, "Scalable simple random sampling and stratified sampling"). The same seed,
/// sizes and δ give the same result on every run. Numbers outside the stated ranges, NaN among
/// them, throw `Exception` where they are given.

namespace Veltrix::Engine::Sampling {

/// Bounds on the keys.
struct Threshold {
    double q1 = 0.0;  ///< a record with a key below is taken
    double q2 = 0.0;  ///< else, with a key below, it is put on the wait list
};

/// A record that tops a sample up if it is needed.
struct WaitListEntry {
    double key = 0.0;
    std::int32_t index = 0;
};

/// What all samplers share: the seed.
class VELTRIX_ENGINE_API Base {
  public:
    Base() = default;
    Base(const Base&) = default;
    Base(Base&&) noexcept = default;
    Base& operator=(const Base&) = default;
    Base& operator=(Base&&) noexcept = default;
    virtual ~Base();

    /// Draws a sample of record indexes.
    virtual IntVector sample() = 0;

    std::uint32_t getSeed() const noexcept { return seed_; }

  protected:
    /// The thresholds of the keys; unless overridden no record is taken at once and all wait.
    virtual Threshold computeThreshold() const;

    std::uint32_t seed_ = 12345;
};

/// Simple random sample of k out of N records without replacement.
///
/// With p = k/N and g = −ln δ / N the thresholds are
///
///     q₂ = min(1, p + g + √((2p + g) g)),
///     q₁ = max(0, p + g₁ − √((3p + g₁) g₁)),   g₁ = 3g/2,
///
/// so that with probability of at least 1 − δ each no more than k keys lie below q₁, and no fewer
/// than k below q₂. For N = 0 they are 0 and 1.
class VELTRIX_ENGINE_API ScalableSRS : public Base {
  public:
    /// Both sizes at least 0.
    explicit ScalableSRS(int populationSize = 0, int sampleSize = 0);
    ScalableSRS(const ScalableSRS&) = default;
    ScalableSRS(ScalableSRS&&) noexcept = default;
    ScalableSRS& operator=(const ScalableSRS& other) { return *this = ScalableSRS(other); }
    ScalableSRS& operator=(ScalableSRS&&) noexcept = default;
    ~ScalableSRS() override;

    ScalableSRS& setSeed(std::uint32_t seed) noexcept;
    /// Whether the index of a record that is drawn is itself drawn, uniformly from 0 … N − 1, so
    /// that a record may occur more than once.
    ScalableSRS& setRandomIndex(bool randomIndex) noexcept;
    /// Failure probability δ in (0, 1].
    ScalableSRS& setDelta(double delta);

    /// The k indexes: those taken at once in the order of drawing (ascending without random
    /// indexes), then those from the wait list by ascending key, equal keys in the order of
    /// drawing. Positions that cannot be filled are 0; they are the last ones. That happens with a
    /// probability of up to δ when the wait list runs out, when a key of exactly 1 is left out
    /// by q₂ = 1, and for k > N, where the draws beyond the population fill nothing.
    IntVector sample() override;

    /// The thresholds that `sample` works with.
    Threshold getThreshold() const { return computeThreshold(); }
    /// The last sample drawn; empty before.
    const IntVector& getSample() const noexcept { return sample_; }
    /// The wait list of the last sample: by ascending key where it was needed, else in the order of
    /// drawing.
    const std::vector<WaitListEntry>& getWaitList() const noexcept { return waitList_; }
    int getPopulationSize() const noexcept { return populationSize_; }
    int getSampleSize() const noexcept { return sampleSize_; }
    double getDelta() const noexcept { return delta_; }

  protected:
    Threshold computeThreshold() const override;
    /// Draws until the sample is full or max(N, k) keys are drawn. Returns how many records were
    /// taken at once; the others of interest are on the wait list.
    int generatePairs(const Threshold& threshold);

  private:
    struct Draw;
    /// What `generatePairs` does, into an object of its own.
    Draw draw(const Threshold& threshold) const;
    void adopt(Draw&& drawn) noexcept;

    int populationSize_ = 0;
    int sampleSize_ = 0;
    bool randomIndex_ = false;
    double delta_ = 5e-05;
    IntVector sample_;
    std::vector<WaitListEntry> waitList_;
};

/// Random order of N records, to be cut into partitions: the first round(p·N) entries are the first
/// partition, the next ones may be cut in any way.
///
///     q₁ = max(0, p + g₁ − √((3p + g₁) g₁)),   g₁ = −(2/3) ln δ / N;   q₂ = 2,
///
/// so that all records not taken at once wait. The records taken at once, about p·N, come first, by
/// ascending index; all others follow by ascending key.
class VELTRIX_ENGINE_API Partitioning : public ScalableSRS {
  public:
    /// N at least 0, p in [0, 1].
    explicit Partitioning(int numRecords = 0, double proportion = 0.0);
    Partitioning(const Partitioning&) = default;
    Partitioning(Partitioning&&) noexcept = default;
    Partitioning& operator=(const Partitioning& other) { return *this = Partitioning(other); }
    Partitioning& operator=(Partitioning&&) noexcept = default;
    ~Partitioning() override;

    Partitioning& setSeed(std::uint32_t seed) noexcept;

    double getProportion() const noexcept { return proportion_; }
    /// round(p·N)
    int getFirstPartitionSize() const noexcept;

  private:
    Threshold computeThreshold() const override;

    double proportion_ = 0.0;
};

/// Stratified random sample: a `ScalableSRS` of its own in every stratum, each with the same seed.
///
/// The strata are the distinct values of the first column of the data, in ascending order: text by
/// character code, numbers by value with NaN last. With n the sample size, N the number of rows and
/// N_h that of stratum h, the stratum's size in the sample is
///
/// - in mode 1 ⌊n N_h / N⌋, the shortfall against n given out one each to the strata with the
///   largest fractional parts, equal ones in ascending order of the strata;
/// - in any other mode the per-stratum size.
class VELTRIX_ENGINE_API StratifiedSRS : public Base {
  public:
    static constexpr int kProportional = 1;

    StratifiedSRS() = default;
    StratifiedSRS(const StratifiedSRS&) = default;
    StratifiedSRS(StratifiedSRS&&) noexcept = default;
    StratifiedSRS& operator=(const StratifiedSRS& other) { return *this = StratifiedSRS(other); }
    StratifiedSRS& operator=(StratifiedSRS&&) noexcept = default;
    ~StratifiedSRS() override;

    /// The data, which hold each row's stratum in the first column.
    StratifiedSRS& setData(const DataFrame& data);
    StratifiedSRS& setSeed(std::uint32_t seed) noexcept;
    /// n ≥ 0; used in mode 1.
    StratifiedSRS& setSampleSize(int sampleSize);
    StratifiedSRS& setAllocationMode(int mode) noexcept;
    /// Rows from every stratum, at least 0; used in all modes but 1.
    StratifiedSRS& setStratumSize(int stratumSize);
    /// As for `ScalableSRS`, of which the strata's samplers are.
    StratifiedSRS& setRandomIndex(bool randomIndex) noexcept;
    StratifiedSRS& setDelta(double delta);

    /// Row indexes, stratum after stratum, in the order that `ScalableSRS` gives them. A stratum
    /// with an allocation of 0 contributes nothing. Where an allocation exceeds the stratum's size,
    /// positions that cannot be filled hold the stratum's first row. Throws `Exception` when rows
    /// are asked for in mode 1 and the data have none.
    IntVector sample() override;

    /// The last sample drawn; empty before.
    const IntVector& getSample() const noexcept { return sample_; }

  private:
    int sampleSize_ = 0;
    bool randomIndex_ = false;
    double delta_ = 5e-05;
    IntVector sample_;
    int mode_ = kProportional;
    int stratumSize_ = 0;
    DataFrame data_;
};

/// What an oversampling partition starts from.
struct VELTRIX_ENGINE_API Params {
    /// The seed becomes the current calendar time in seconds.
    Params();

    double successShare = 0.5;         ///< share of the success class in training, in [0, 1]
    std::int32_t seed;                 ///< its bits seed the generator
    std::int32_t maxTrainingSize = 0;  ///< most records in training; 0 for no limit
};

/// Training, validation and test lists, the training list with a given share of the success class,
/// the other two with the shares that the data have.
///
/// Let the scarce group, of m records, be the success class, with wanted share s = success share,
/// when its share in the data is at most s; else all other records, with s = 1 − success share. The
/// plentiful group are the remaining M records. With t the training and v the validation share:
///
/// | list       | scarce records                          | plentiful records            |
/// |------------|-----------------------------------------|------------------------------|
/// | training   | a = t·m, at most s · largest training size | a (1 − s)/s               |
/// | validation | v·m                                     | v·M                          |
/// | test       | those left over                         | as many as keep the ratio M/m |
///
/// Fractions are rounded up when v > 0, else to the nearest number, and a list takes what is left
/// where a group runs short. Plentiful records beyond that are in no list. Which records go where
/// is decided by one shuffle of all records (`IntVector::shuffle`), of which every list takes its
/// records in turn; each list is in ascending order.
class VELTRIX_ENGINE_API OversamplingPartitioning {
  public:
    OversamplingPartitioning() = default;
    explicit OversamplingPartitioning(const Params& params, double validationShare = 0.0);
    OversamplingPartitioning(const OversamplingPartitioning&) = default;
    OversamplingPartitioning(OversamplingPartitioning&&) noexcept = default;
    OversamplingPartitioning& operator=(const OversamplingPartitioning& other) {
        return *this = OversamplingPartitioning(other);
    }
    OversamplingPartitioning& operator=(OversamplingPartitioning&&) noexcept = default;
    virtual ~OversamplingPartitioning();

    /// In [0, 1].
    OversamplingPartitioning& setSuccessShare(double share);
    OversamplingPartitioning& setSeed(std::int32_t seed) noexcept;
    /// v in [0, 1].
    OversamplingPartitioning& setValidationShare(double share);
    /// t in [0, 1].
    OversamplingPartitioning& setTrainingShare(double share);
    /// At least 0; 0 for no limit.
    OversamplingPartitioning& setMaxTrainingSize(std::int32_t size);

    /// Fills the three lists with indexes of `labels`. Throws `Exception`, and keeps the lists as
    /// they were, when t + v > 1, when no label equals the success class, and when all do though
    /// others are to have a share in training.
    OversamplingPartitioning& partition(const StringVector& labels, const WString& successClass);

    const IntVector& getTraining() const noexcept { return training_; }
    const IntVector& getValidation() const noexcept { return validation_; }
    const IntVector& getTest() const noexcept { return test_; }

  private:
    Params params_;
    double validationShare_ = 0.0;
    double trainingShare_ = 0.5;
    IntVector training_;
    IntVector validation_;
    IntVector test_;
};

}  // namespace Veltrix::Engine::Sampling

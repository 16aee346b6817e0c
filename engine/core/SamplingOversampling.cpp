#include <algorithm>
#include <cmath>
#include <ctime>
#include <numeric>
#include <string>
#include <type_traits>

#include "Veltrix/Data/Progress.h"
#include "Veltrix/Engine/Sampling.h"
#include "engine/core/SamplingChecks.h"
#include "support/NumberText.h"

namespace Veltrix::Engine::Sampling {
namespace {

constexpr const char* kOperation = "Oversampling partition";
/// A product of a share and a count may miss a whole number by its rounding error.
constexpr double kRoundingError = 1e-12;

/// Rounds a number of records.
std::int64_t roundCount(double exact, bool up) {
    return static_cast<std::int64_t>(up ? std::ceil(exact * (1.0 - kRoundingError))
                                        : std::round(exact));
}

/// The records of one group in the order in which the lists take them.
class Group {
  public:
    void push(int record) { records_.push_back(record); }
    double size() const { return static_cast<double>(records_.size()); }
    std::int64_t left() const { return static_cast<std::int64_t>(records_.size() - next_); }

    /// Moves up to `count` records to the list. Returns how many.
    std::int64_t moveTo(IntVector& list, std::int64_t count) {
        count = std::min(count, left());
        for (std::int64_t i = 0; i < count; ++i) list.push_back(records_[next_++]);
        return count;
    }

  private:
    IntVector records_;
    std::uint64_t next_ = 0;
};

/// All records in random order, those with the success class and the others.
struct Groups {
    Group success;
    Group others;

    Groups(const StringVector& labels, const WString& successClass, std::int32_t seed) {
        IntVector order(labels.size());
        std::iota(order.begin(), order.end(), 0);
        order.shuffle(static_cast<std::uint32_t>(seed));
        ProgressPhase phase("Grouping records", labels.size());
        constexpr std::uint64_t kReportEvery = 4096;
        std::uint64_t seen = 0;
        for (const int record : order) {
            if (++seen % kReportEvery == 0) phase.advance(kReportEvery);
            const bool succeeded = labels[static_cast<std::uint64_t>(record)] == successClass;
            (succeeded ? success : others).push(record);
        }
    }
};

void checkGroups(const Groups& groups, const WString& successClass, double successShare) {
    const auto fail = [&successClass](const char* found) {
        Checks::fail(ErrorCode::invalidArgument, kOperation,
                     "records with and without success class \"" + successClass.toUtf8() +
                         "\" expected, found none " + found);
    };
    if (groups.success.left() == 0) fail("with it");
    if (groups.others.left() == 0 && successShare < 1.0) fail("without");
}

}  // namespace

Params::Params() : seed(static_cast<std::int32_t>(std::time(nullptr))) {}

OversamplingPartitioning::OversamplingPartitioning(const Params& params, double validationShare) {
    setSuccessShare(params.successShare);
    setSeed(params.seed);
    setMaxTrainingSize(params.maxTrainingSize);
    setValidationShare(validationShare);
}
OversamplingPartitioning::~OversamplingPartitioning() = default;

OversamplingPartitioning& OversamplingPartitioning::setSuccessShare(double share) {
    params_.successShare = Checks::share(kOperation, "success share", share);
    return *this;
}

OversamplingPartitioning& OversamplingPartitioning::setSeed(std::int32_t seed) noexcept {
    params_.seed = seed;
    return *this;
}

OversamplingPartitioning& OversamplingPartitioning::setValidationShare(double share) {
    validationShare_ = Checks::share(kOperation, "validation share", share);
    return *this;
}

OversamplingPartitioning& OversamplingPartitioning::setTrainingShare(double share) {
    trainingShare_ = Checks::share(kOperation, "training share", share);
    return *this;
}

OversamplingPartitioning& OversamplingPartitioning::setMaxTrainingSize(std::int32_t size) {
    params_.maxTrainingSize = Checks::count(kOperation, "records in training at most", size);
    return *this;
}

OversamplingPartitioning& OversamplingPartitioning::partition(const StringVector& labels,
                                                              const WString& successClass) {
    if (trainingShare_ + validationShare_ > 1.0 + kRoundingError) {
        Checks::fail(ErrorCode::invalidArgument, kOperation,
                     "training and validation shares that sum to at most 1 expected, found " +
                         Support::numberText(trainingShare_) + " and " +
                         Support::numberText(validationShare_));
    }
    Groups groups(labels, successClass, params_.seed);
    checkGroups(groups, successClass, params_.successShare);
    const double observed = groups.success.size() / static_cast<double>(labels.size());
    const bool swapped = observed > params_.successShare;
    Group& scarce = swapped ? groups.others : groups.success;
    Group& plentiful = swapped ? groups.success : groups.others;
    const double share = swapped ? 1.0 - params_.successShare : params_.successShare;
    const bool up = validationShare_ > 0.0;

    IntVector training;
    std::int64_t wanted = roundCount(trainingShare_ * scarce.size(), up);
    if (params_.maxTrainingSize > 0) {
        const double most = share * params_.maxTrainingSize * (1.0 + kRoundingError);
        wanted = std::min(wanted, static_cast<std::int64_t>(most));
    }
    wanted = scarce.moveTo(training, wanted);
    plentiful.moveTo(training, roundCount(static_cast<double>(wanted) * (1.0 - share) / share, up));

    IntVector validation;
    scarce.moveTo(validation, roundCount(validationShare_ * scarce.size(), up));
    plentiful.moveTo(validation, roundCount(validationShare_ * plentiful.size(), up));

    IntVector test;
    wanted = scarce.moveTo(test, scarce.left());
    const double ratio = plentiful.size() / scarce.size();
    plentiful.moveTo(test, roundCount(static_cast<double>(wanted) * ratio, up));

    for (IntVector* list : {&training, &validation, &test}) std::sort(list->begin(), list->end());
    training_ = std::move(training);
    validation_ = std::move(validation);
    test_ = std::move(test);
    return *this;
}

static_assert(std::is_nothrow_move_constructible_v<OversamplingPartitioning>);
static_assert(std::is_nothrow_move_assignable_v<OversamplingPartitioning>);

}  // namespace Veltrix::Engine::Sampling

#include <memory>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "Veltrix/Engine/NaiveBayes.h"
#include "bench/yardstick/Workload.h"

namespace Veltrix::Yardstick {
namespace {

namespace NaiveBayes = Classification::NaiveBayes::Engine;

constexpr double kSmoothing = 1.0;

/// The columns of whole numbers as they are, named by their positions.
DataFrame integerColumns(const IntVector& cells, std::uint64_t rows) {
    DataFrame frame;
    for (std::uint64_t start = 0; start < cells.size(); start += rows) {
        const int* const first = cells.data() + start;
        IntVector column(first, first + rows);
        column.setName(Convert::toString(frame.getNumCols()));
        frame.append(std::move(column));
    }
    return frame;
}

/// The shares of the classes, which the priors are.
NaiveBayes::Model::ClassValues sharesOf(const IntVector& classes) {
    NaiveBayes::Model::ClassValues shares;
    for (const int each : classes) {
        shares[Convert::toString(each)] += 1.0 / static_cast<double>(classes.size());
    }
    return shares;
}

/// Share of records whose most probable class is the true one; classes are numbers below 10, so
/// that the order of their texts is theirs.
double accuracy(const Matrix& posteriors, const IntVector& truth) {
    double right = 0.0;
    for (int i = 0; i < posteriors.getNumRows(); ++i) {
        if (Util::maxIndex(posteriors(i, Util::all)) == truth[i]) ++right;
    }
    return right / posteriors.getNumRows();
}

}  // namespace

void addNaiveBayes(std::map<std::string, Setup>& all) {
    all["05_nb"] = [](const Store& store) -> Run {
        auto truth = std::make_shared<IntVector>(store.integers("nb_y.i32"));
        auto features =
            std::make_shared<DataFrame>(integerColumns(store.integers("nb_x.i32"), truth->size()));
        auto target = std::make_shared<DataFrame>();
        target->append(*truth);
        const auto priors = sharesOf(*truth);
        return [=]() -> std::function<Check()> {
            const DataFrame& classes = *target;
            const auto model =
                NaiveBayes::frequencyToPriorConditionalProbability(NaiveBayes::computeFrequency(
                    *features, classes(Selection::all, 0), kSmoothing, priors));
            auto scored = std::make_shared<NaiveBayes::PosteriorProbabilityInfo>(
                NaiveBayes::computePosteriorProbability(model, *features, false));
            return [scored, truth] {
                return Check{{"accuracy", accuracy(scored->posteriors, *truth)},
                             {"p00", scored->posteriors(0, 0)}};
            };
        };
    };
}

}  // namespace Veltrix::Yardstick

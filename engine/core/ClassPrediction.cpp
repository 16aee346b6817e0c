#include "Veltrix/Engine/ClassPrediction.h"

#include <cmath>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"

namespace Veltrix::Classification::Engine {
namespace {

/// Which column is success and from which probability on; column -1 when the rule is off.
struct SuccessRule {
    int column = -1;
    double cutoff = 0.0;
};

SuccessRule successRule(const DataFrame& posteriors, const WString& successClass, double cutoff) {
    if (posteriors.getNumCols() != 2 || !posteriors.hasColumn(successClass)) return {};
    return {posteriors.getColIndex(successClass), cutoff};
}

/// Place of the largest probability; ties by prior when there are priors, then the first.
int mostProbable(const Vector& probabilities, const Vector& priors) {
    if (priors.empty()) return Util::maxIndex(probabilities);
    const IntVector tied = Util::kTopIndices(probabilities, 1, true, false, Ordering::largestFirst);
    // Ties within rounding come in descending order of probability; columns decide ascending.
    int best = -1;
    for (const int column : tied) {
        const auto place = static_cast<std::uint64_t>(column);
        const auto bestPlace = static_cast<std::uint64_t>(best);
        if (best < 0 || priors[place] > priors[bestPlace] ||
            (priors[place] == priors[bestPlace] && column < best)) {
            best = column;
        }
    }
    return best;
}

int predictedColumn(const Vector& probabilities, const Vector& priors, const SuccessRule& rule) {
    if (rule.column >= 0) {
        const auto success = static_cast<std::uint64_t>(rule.column);
        return probabilities[success] >= rule.cutoff ? rule.column : 1 - rule.column;
    }
    return mostProbable(probabilities, priors);
}

WString predictionName(const WString& name) {
    static constexpr std::wstring_view kOld = L"Posterior Probability";
    static constexpr std::wstring_view kNew = L"Prediction";
    std::wstring text = name.str();
    std::size_t place = 0;
    while ((place = text.find(kOld, place)) != std::wstring::npos) {
        text.replace(place, kOld.size(), kNew);
        place += kNew.size();
    }
    return {std::move(text)};
}

DataFrame predictClasses(const DataFrame& posteriors, const Vector& givenPriors,
                         const SuccessRule& rule) {
    const auto columns = static_cast<std::uint64_t>(posteriors.getNumCols());
    const Vector priors = givenPriors.size() == columns ? givenPriors : Vector();
    const Matrix probabilities = Convert::toMatrix(posteriors);
    StringVector levels = posteriors.getColNames();
    levels.push_back(L"nan");

    StringVector classes;
    classes.reserve(static_cast<std::uint64_t>(posteriors.getNumRows()));
    for (int i = 0; i < posteriors.getNumRows(); ++i) {
        const Vector row = Convert::toDoubleVector(probabilities(i, Util::all));
        bool known = columns > 0;
        for (const double probability : row) known = known && !std::isnan(probability);
        const auto level =
            known ? static_cast<std::uint64_t>(predictedColumn(row, priors, rule)) : columns;
        classes.push_back(levels[level]);
    }
    DataFrame result(predictionName(posteriors.getName()));
    result.append(classes, L"Class");
    result.setRowNames(posteriors.getRowNames());
    return result;
}

}  // namespace

DataFrame predict(const DataFrame& posteriors) { return predictClasses(posteriors, {}, {}); }

DataFrame predict(const DataFrame& posteriors, const Vector& priors) {
    return predictClasses(posteriors, priors, {});
}

DataFrame predict(const DataFrame& posteriors, const Vector& priors, const WString& successClass,
                  double cutoff) {
    return predictClasses(posteriors, priors, successRule(posteriors, successClass, cutoff));
}

DataFrame predict(const DataFrame& posteriors, const WString& successClass, double cutoff) {
    return predictClasses(posteriors, {}, successRule(posteriors, successClass, cutoff));
}

}  // namespace Veltrix::Classification::Engine

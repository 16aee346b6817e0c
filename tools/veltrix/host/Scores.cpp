#include "tools/veltrix/host/Scores.h"

#include <cmath>
#include <unordered_map>
#include <utility>

#include "Veltrix/Engine/ClassPrediction.h"

namespace Veltrix::Tool {

namespace {

/// The labels as columns of the posteriors; -1 where one of the probabilities is NaN.
Scores withLabels(DataFrame posteriors, const StringVector& labels) {
    std::unordered_map<WString, int> places;
    for (const WString& name : posteriors.getColNames()) {
        places.emplace(name, static_cast<int>(places.size()));
    }
    IntVector predicted;
    predicted.reserve(labels.size());
    for (const WString& label : labels) {
        const auto place = places.find(label);
        predicted.push_back(place == places.end() ? -1 : place->second);
    }
    for (int j = 0; j < posteriors.getNumCols(); ++j) {
        const Vector probabilities = posteriors(Selection::all, j).toDoubleVector();
        for (std::uint64_t i = 0; i < predicted.size(); ++i) {
            if (std::isnan(probabilities[i])) predicted[i] = -1;
        }
    }
    return {std::move(posteriors), std::move(predicted), {}, {}};
}

}  // namespace

Scores classScores(DataFrame posteriors, const ClassRoles& roles) {
    Vector priors;
    for (const WString& label : roles.classes) priors.push_back(roles.priors.at(label));
    const DataFrame predicted =
        Classification::Engine::predict(posteriors, priors, roles.successClass, roles.cutoff);
    return withLabels(std::move(posteriors), predicted(Selection::all, 0).toStringVector());
}

Scores classScores(DataFrame posteriors, const StringVector& predicted) {
    return withLabels(std::move(posteriors), predicted);
}

Scores numberScores(Vector numbers, std::vector<Column> further) {
    return {{}, {}, std::move(numbers), std::move(further)};
}

std::vector<Column> Scores::columns() const {
    Table table{.title = {}, .columns = {}};
    if (hasClasses()) {
        const std::vector<std::string> classes = toTexts(posteriors.getColNames());
        std::vector<std::string> labels;
        for (const int code : predicted) {
            labels.push_back(code < 0 ? "" : classes[static_cast<std::size_t>(code)]);
        }
        table.text("Predicted", std::move(labels));
        for (int j = 0; j < posteriors.getNumCols(); ++j) {
            table.series("P(" + classes[static_cast<std::size_t>(j)] + ")",
                         posteriors(Selection::all, j).toDoubleVector());
        }
    } else if (!numbers.empty() || further.empty()) {
        table.series("Prediction", numbers);
    }
    for (const Column& column : further) table.add(column);
    return std::move(table.columns);
}

}  // namespace Veltrix::Tool

#include "engine/core/ClassLabels.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/Util.h"
#include "engine/core/Checks.h"

namespace Veltrix::Engine {

StringVector numberedClasses(int count) {
    StringVector classes;
    for (int c = 0; c < count; ++c) classes.push_back(Convert::toString(c));
    return classes;
}

IntVector placesAmong(const StringVector& classes, const StringVector& labels) {
    std::unordered_map<WString, int> places;
    for (std::uint64_t c = 0; c < classes.size(); ++c) {
        places.emplace(classes[c], static_cast<int>(c));
    }
    IntVector codes;
    codes.reserve(labels.size());
    for (const WString& label : labels) {
        const auto place = places.find(label);
        codes.push_back(place == places.end() ? -1 : place->second);
    }
    return codes;
}

CodedLabels codeLabels(const ConstDataFrameColumn& labels, const StringVector& classes) {
    IntVector levelOf;
    StringVector levels = labels.getLevels(levelOf);
    if (classes.empty()) return {std::move(levels), std::move(levelOf)};
    return {classes, Veltrix::Util::bind(placesAmong(classes, levels), levelOf)};
}

void requireClasses(const char* operation, const ConstDataFrameColumn& labels,
                    const IntVector& codes) {
    const auto unknown = std::find(codes.begin(), codes.end(), -1);
    if (unknown == codes.end()) return;
    const auto record = static_cast<int>(unknown - codes.begin());
    Checks::fail(ErrorCode::invalidArgument, operation,
                 "label \"" + labels(record).toString().toUtf8() + "\" of record " +
                     std::to_string(record) + " is no class");
}

void fitPriors(Classification::Modelable& roles, const Vector& counts) {
    // A record for each class that weighs as many as there are gives the same shares.
    roles.fit(roles.getClasses(), counts);
}

}  // namespace Veltrix::Engine

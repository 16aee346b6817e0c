#pragma once

#include <algorithm>

#include "Veltrix/Data/StringVector.h"

namespace Veltrix::Classification::NaiveBayes::Engine {

/// The keys of a map by text, ascending: an order that no hash decides.
template <class Map>
StringVector sortedKeys(const Map& map) {
    StringVector keys;
    keys.reserve(map.size());
    for (const auto& entry : map) keys.push_back(entry.first);
    std::sort(keys.begin(), keys.end());
    return keys;
}

}  // namespace Veltrix::Classification::NaiveBayes::Engine

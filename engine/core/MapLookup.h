#pragma once

#include <stdexcept>

namespace Veltrix::Engine {

/// The value of a key in a hash map. Throws `std::out_of_range` when there is none, whose text is
/// the same on every platform.
template <class Map>
const typename Map::mapped_type& valueAt(const Map& map, const typename Map::key_type& key) {
    const auto found = map.find(key);
    if (found == map.end()) throw std::out_of_range("invalid unordered_map<K, T> key");
    return found->second;
}

}  // namespace Veltrix::Engine

#include "Veltrix/Engine/FrameForms.h"

#include <type_traits>
#include <unordered_map>

#include "Veltrix/Data/Util.h"

namespace Veltrix::Engine {

IntVector FrameColumns::positions(const DataFrame& frame) const {
    const int count = frame.getNumCols();
    IntVector byPosition = Veltrix::Util::range(0, count);
    if (names_.size() != static_cast<std::uint64_t>(count)) return byPosition;
    std::unordered_map<WString, int> places;
    for (int j = 0; j < count; ++j) places.emplace(frame.getColName(j), j);
    IntVector byName;
    for (const WString& name : names_) {
        const auto place = places.find(name);
        if (place == places.end()) return byPosition;
        byName.push_back(place->second);
        places.erase(place);  // a name that occurs twice tells nothing
    }
    return byName;
}

Matrix FrameColumns::toMatrix(const DataFrame& frame) const {
    Matrix values = Convert::toMatrix(frame);
    const IntVector order = positions(frame);
    if (order == Veltrix::Util::range(0, values.getNumCols())) return values;
    Matrix arranged = values(Selection::all, order);
    arranged.setName(values.getName());
    return arranged;
}

static_assert(std::is_nothrow_move_assignable_v<FrameColumns>);

}  // namespace Veltrix::Engine

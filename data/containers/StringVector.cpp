#include "Veltrix/Data/StringVector.h"

#include "data/containers/Checks.h"

namespace Veltrix {

WString& StringVector::at(std::uint64_t index) {
    Checks::index("StringVector::at", "element", index, size());
    return values_[index];
}

const WString& StringVector::at(std::uint64_t index) const {
    Checks::index("StringVector::at", "element", index, size());
    return values_[index];
}

}  // namespace Veltrix

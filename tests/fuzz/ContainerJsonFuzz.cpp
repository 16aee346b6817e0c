// Containers from any text: an exception or a container that is written and read the same again.
#include "Veltrix/Veltrix.h"
#include "tests/fuzz/FuzzInput.h"

namespace {

using namespace Veltrix;

template <class Container>
void readContainer(std::string_view text) {
    Container container;
    try {
        container.fromJsonString(WString::fromUtf8(text));
    } catch (const Exception&) {
        return;
    }
    Container again;
    again.fromJsonString(container.toJson());
    Fuzz::require(again.toJson() == container.toJson(), "a container is stored as it was read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readContainer<Matrix>(Fuzz::textOf(data, size));
    readContainer<IntVector>(Fuzz::textOf(data, size));
    return 0;
}

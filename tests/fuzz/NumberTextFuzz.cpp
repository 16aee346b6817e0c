// Number and UTF-8 text: what is read as a number is written and read as the same number, text that
// is valid UTF-8 comes back byte for byte.
#include <bit>
#include <string>

#include "Veltrix/Data/Convert.h"
#include "Veltrix/Data/WString.h"
#include "support/NumberText.h"
#include "support/Utf8.h"
#include "tests/fuzz/FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace Veltrix;
    const std::string_view text = Fuzz::textOf(data, size);
    if (const auto number = Support::parseNumber(text); number && *number == *number) {
        const auto again = Support::parseNumber(Support::numberText(*number));
        Fuzz::require(
            again && std::bit_cast<std::uint64_t>(*again) == std::bit_cast<std::uint64_t>(*number),
            "a number is written and read as the same number");
    }
    try {
        const std::wstring wide = Support::fromUtf8(text);
        Fuzz::require(Support::toUtf8(wide) == text, "UTF-8 comes back byte for byte");
    } catch (const Support::Utf8Error& error) {
        Fuzz::require(error.offset <= size, "the offset lies within the text");
    }
    return 0;
}

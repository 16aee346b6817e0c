// A file of any bytes is read or refused with one line; what is read does not depend on whether
// columns are taken as text.
#include <cstdio>
#include <string>

#include "tests/fuzz/FuzzInput.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvReader.h"

namespace {

using namespace Veltrix;

/// Rows and columns of the file; −1 when it is refused.
std::pair<int, int> shapeOf(const std::string& path, bool allText) {
    Tool::CsvOptions options;
    options.allText = allText;
    try {
        const DataFrame frame = Tool::readCsv(path, options).frame;
        return {frame.getNumRows(), frame.getNumCols()};
    } catch (const Tool::UserError& error) {
        Fuzz::require(*error.what() != '\0', "a mistake is named");
        return {-1, -1};
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = [] {
        std::string name = std::string(P_tmpdir) + "/csv-fuzz-XXXXXX";
        const int file = ::mkstemp(name.data());
        Fuzz::require(file >= 0, "a temporary file can be made");
        return name;
    }();
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    Fuzz::require(file != nullptr, "the temporary file can be written");
    std::fwrite(data, 1, size, file);
    std::fclose(file);
    Fuzz::require(shapeOf(path, false) == shapeOf(path, true), "text and numbers have one shape");
    return 0;
}

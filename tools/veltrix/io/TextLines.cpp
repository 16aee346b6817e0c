#include "tools/veltrix/io/TextLines.h"

#include <algorithm>

#include "support/Files.h"
#include "tools/veltrix/io/Gzip.h"

namespace Veltrix::Tool {

std::string_view TextLines::next() {
    const std::size_t start = start_;
    if (lineFeed_ < start) lineFeed_ = text_.find('\n', start);
    if (carriageReturn_ < start) carriageReturn_ = text_.find('\r', start);
    const std::size_t end = std::min(lineFeed_, carriageReturn_);
    start_ = end == std::string_view::npos           ? text_.size()
             : text_.substr(end).starts_with("\r\n") ? end + 2
                                                     : end + 1;
    return text_.substr(start, start_ - start);
}

std::string readText(const std::string& path) {
    try {
        std::string bytes = path == "-" ? Support::readStandardInput() : Support::readFile(path);
        return isGzip(bytes) ? inflated(oneLine(path), bytes) : bytes;
    } catch (const Support::FileError& error) {
        throw UserError(oneLine(error.what()));
    }
}

std::string_view checkedText(const std::string& file, std::string_view text) {
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        throw UserError(file + ": UTF-16 text, expected UTF-8");
    }
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (text.find('\0') != std::string_view::npos) {
        throw UserError(file + ": holds a NUL byte, which no text file does");
    }
    return text;
}

}  // namespace Veltrix::Tool

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Veltrix/Data/Exception.h"
#include "Veltrix/Data/WString.h"
#include "tools/veltrix/host/UserError.h"

/// @file
/// Text files as bytes, lines and decoded texts.

namespace Veltrix::Tool {

/// The lines of a text, one after another.
class TextLines {
  public:
    explicit TextLines(std::string_view text)
        : text_(text), lineFeed_(text.find('\n')), carriageReturn_(text.find('\r')) {}

    /// The next line with its end (LF, CR LF or CR); empty behind the last one.
    std::string_view next();

  private:
    std::string_view text_;
    std::size_t start_ = 0;
    std::size_t lineFeed_;
    std::size_t carriageReturn_;
};

/// The bytes of a file, unpacked when it is packed by gzip; "-" is the standard input. Throws
/// `UserError` when it cannot be read or unpacked.
std::string readText(const std::string& path);

/// The text without its byte order mark. Throws `UserError` for what is no UTF-8 text at sight.
std::string_view checkedText(const std::string& file, std::string_view text);

/// Text from UTF-8; `where()` says where it stands when it is none.
template <class Where>
WString decode(std::string_view text, const Where& where) {
    try {
        return WString::fromUtf8(text);
    } catch (const Exception& exception) {
        throw UserError(where() + ": " + oneLine(exception.what()) +
                        "; expected UTF-8, or another --encoding");
    }
}

}  // namespace Veltrix::Tool

#pragma once

#include <string>

namespace Veltrix::Tool {

/// How a text file writes its characters.
enum class Encoding {
    Utf8,   ///< or UTF-16, when its byte order mark stands first
    Utf16,  ///< little-endian without a byte order mark
    Latin1  ///< ISO 8859-1: every byte is a character
};

/// The bytes of a file as UTF-8 without byte order mark. Throws `UserError` with file, line and
/// what was found for bytes that are no text in the encoding, and for NUL, which no text file
/// holds.
std::string toUtf8Text(const std::string& file, std::string bytes, Encoding encoding);

/// The text of a file that is read cell by cell, in the encoding that the command line says. UTF-8
/// is looked at by those who take the cells.
std::string readCells(const std::string& path);

}  // namespace Veltrix::Tool

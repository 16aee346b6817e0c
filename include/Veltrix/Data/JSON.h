#pragma once

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix::JSON {

/// An object that can write itself as JSON.
class VELTRIX_DATA_API StringExportable {
  public:
    virtual ~StringExportable();

    /// JSON text; numbers have 17 significant digits, NaN and infinities are the strings "NaN",
    /// "Infinity", "-Infinity".
    virtual WString toJson() const = 0;
    /// Writes the text to a UTF-8 file. The file appears whole or not at all: on failure (disk
    /// full, no such folder) an `Exception` names the file and the cause and what was there before
    /// is untouched.
    virtual void toJson(const WString& path) const;

  protected:
    StringExportable() = default;
    StringExportable(const StringExportable&) = default;
    StringExportable(StringExportable&&) noexcept = default;
    StringExportable& operator=(const StringExportable&) = default;
    StringExportable& operator=(StringExportable&&) noexcept = default;
};

/// An object that can read itself from JSON.
class VELTRIX_DATA_API StringImportable {
  public:
    virtual ~StringImportable();

    /// Takes back what `toJson` wrote. Throws `Exception` naming the offending key when the text is
    /// damaged, foreign or of another version, and leaves the object as it was.
    virtual void fromJsonString(const WString& json) = 0;
    /// Reads a UTF-8 file; an unreadable file throws `Exception` with its name and the cause.
    virtual void fromJsonFile(const WString& path);

  protected:
    StringImportable() = default;
    StringImportable(const StringImportable&) = default;
    StringImportable(StringImportable&&) noexcept = default;
    StringImportable& operator=(const StringImportable&) = default;
    StringImportable& operator=(StringImportable&&) noexcept = default;
};

}  // namespace Veltrix::JSON

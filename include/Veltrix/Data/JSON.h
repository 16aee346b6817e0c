#pragma once

#include <string_view>

#include "Veltrix/Data/WString.h"
#include "Veltrix/Export.h"

namespace Veltrix {

/// Describes the fields of a stored type to the libraries themselves.
template <class Object>
struct Stored;

namespace JSON {

/// Takes UTF-8 text piece by piece; a piece ends between characters.
class VELTRIX_DATA_API TextSink {
  public:
    virtual ~TextSink();
    virtual void write(std::string_view utf8) = 0;

  protected:
    TextSink() = default;
    TextSink(const TextSink&) = default;
    TextSink(TextSink&&) noexcept = default;
    TextSink& operator=(const TextSink&) = default;
    TextSink& operator=(TextSink&&) noexcept = default;
};

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

    /// Hands the text on as it is made; the whole text of `toJson` unless overridden.
    virtual void writeJson(TextSink& sink) const;
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

    /// Takes the text in UTF-8; calls `fromJsonString` unless overridden.
    virtual void readJson(std::string_view utf8);
};

/// Base of the objects that write and read themselves piece by piece: a file takes no more memory
/// than a buffer to write, and to read its own size and 16 bytes a value.
class VELTRIX_DATA_API Storable : public StringExportable, public StringImportable {
  public:
    ~Storable() override;

    using StringExportable::toJson;
    WString toJson() const override;
    void fromJsonString(const WString& json) override;

  protected:
    Storable() = default;
    Storable(const Storable&) = default;
    Storable(Storable&&) noexcept = default;
    Storable& operator=(const Storable&) = default;
    Storable& operator=(Storable&&) noexcept = default;

    void writeJson(TextSink& sink) const override = 0;
    void readJson(std::string_view utf8) override = 0;
};

}  // namespace JSON
}  // namespace Veltrix

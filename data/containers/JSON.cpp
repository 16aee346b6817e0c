#include "Veltrix/Data/JSON.h"

#include <string>

#include "data/containers/Checks.h"
#include "data/containers/Stored.h"
#include "support/Files.h"

namespace Veltrix::JSON {
namespace {

class FileSink final : public TextSink {
  public:
    explicit FileSink(Support::StagedFile& file) : file_(file) {}
    void write(std::string_view utf8) override { file_.append(utf8); }

  private:
    Support::StagedFile& file_;
};

}  // namespace

TextSink::~TextSink() = default;
StringExportable::~StringExportable() = default;
StringImportable::~StringImportable() = default;
Storable::~Storable() = default;

void StringExportable::toJson(const WString& path) const {
    try {
        Support::StagedFile file(path.toUtf8());
        FileSink sink(file);
        writeJson(sink);
        file.commit();
    } catch (const Support::FileError& error) {
        Checks::fail(ErrorCode::file, "Writing JSON", error.what());
    }
}

void StringExportable::writeJson(TextSink& sink) const { sink.write(toJson().toUtf8()); }

void StringImportable::fromJsonFile(const WString& path) {
    std::string text;
    try {
        text = Support::readFile(path.toUtf8());
    } catch (const Support::FileError& error) {
        Checks::fail(ErrorCode::file, "Reading JSON", error.what());
    }
    readJson(text);
}

void StringImportable::readJson(std::string_view utf8) { fromJsonString(WString::fromUtf8(utf8)); }

WString Storable::toJson() const {
    WideSink sink;
    writeJson(sink);
    return sink.take();
}

void Storable::fromJsonString(const WString& json) { readJson(json.toUtf8()); }

}  // namespace Veltrix::JSON

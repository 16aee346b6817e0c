#include "Veltrix/Data/JSON.h"

#include "data/containers/Checks.h"
#include "data/containers/JsonText.h"
#include "support/Files.h"

namespace Veltrix {

namespace JsonText {

Support::JsonWriter begin(std::string_view type, const WString& name) {
    Support::JsonWriter writer;
    Support::beginStored(writer, type).member("name", name.toUtf8());
    return writer;
}

WString finish(Support::JsonWriter& writer) {
    writer.endObject();
    return WString::fromUtf8(writer.take());
}

void fail(std::string_view type, const Support::JsonError& error) {
    Checks::fail(ErrorCode::invalidText, std::string(type) + " from JSON", error.what());
}

void failExpected(const Support::JsonView& view, std::string_view expected,
                  std::string_view found) {
    std::string problem(expected);
    view.fail(problem.append(" expected, ").append(found).append(" found"));
}

WString name(const Support::JsonView& root) {
    return WString::fromUtf8(root.at("name").asString());
}

}  // namespace JsonText

namespace JSON {

StringExportable::~StringExportable() = default;
StringImportable::~StringImportable() = default;

void StringExportable::toJson(const WString& path) const {
    const std::string text = toJson().toUtf8();
    try {
        Support::writeFileAtomically(path.toUtf8(), text);
    } catch (const Support::FileError& error) {
        Checks::fail(ErrorCode::file, "Writing JSON", error.what());
    }
}

void StringImportable::fromJsonFile(const WString& path) {
    std::string text;
    try {
        text = Support::readFile(path.toUtf8());
    } catch (const Support::FileError& error) {
        Checks::fail(ErrorCode::file, "Reading JSON", error.what());
    }
    fromJsonString(WString::fromUtf8(text));
}

}  // namespace JSON
}  // namespace Veltrix

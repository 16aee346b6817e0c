#include "engine/core/ModelJson.h"

#include <unordered_set>
#include <vector>

#include "data/containers/Stored.h"

namespace Veltrix::Engine::ModelJson {

Support::JsonWriter begin(std::string_view type) {
    Support::JsonWriter writer;
    Support::beginStored(writer, type);
    return writer;
}

WString finish(Support::JsonWriter& writer) {
    writer.endObject();
    return WString::fromUtf8(writer.take());
}

void member(Support::JsonWriter& writer, std::string_view key, const StringVector& texts) {
    writer.key(key).beginArray();
    for (const WString& each : texts) writer.value(std::string_view(each.toUtf8()));
    writer.endArray();
}

void write(Support::JsonWriter& writer, const Matrix& matrix) {
    Support::writeStored(writer, matrix);
}

void expectSize(const Support::JsonView& list, std::int64_t size) {
    if (list.size() == size) return;
    list.fail("expected " + std::to_string(size) + " values, found " + std::to_string(list.size()));
}

Vector vector(const Support::JsonView& list) { return vector(list, list.size()); }

Vector vector(const Support::JsonView& list, std::int64_t size) {
    ModelJson::expectSize(list, size);
    Vector result(static_cast<std::uint64_t>(size));
    list.copyDoubles({result.data(), result.size()});
    return result;
}

IntVector intVector(const Support::JsonView& list) {
    const std::vector<std::int32_t> numbers = list.asInt32s();
    return {numbers.begin(), numbers.end()};
}

int count(const Support::JsonView& value) {
    const int found = value.asInt32();
    if (found < 0) value.fail("expected a count, found " + std::to_string(found));
    return found;
}

Matrix matrix(const Support::JsonView& view) { return Support::readStored<Matrix>(view); }

WString text(const Support::JsonView& value) { return WString::fromUtf8(value.asString()); }

StringVector distinctTexts(const Support::JsonView& list) {
    StringVector result;
    std::unordered_set<WString> seen;
    for (std::int64_t i = 0; i < list.size(); ++i) {
        const Support::JsonView item = list.at(i);
        WString found = text(item);
        if (!seen.insert(found).second) item.fail("\"" + item.asString() + "\" occurs twice");
        result.push_back(std::move(found));
    }
    return result;
}

}  // namespace Veltrix::Engine::ModelJson

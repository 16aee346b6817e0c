#include "engine/core/ModelJson.h"

#include <unordered_set>
#include <vector>

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

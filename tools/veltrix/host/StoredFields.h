#pragma once

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Veltrix/Data/JSON.h"
#include "support/Stored.h"
#include "tools/veltrix/host/OptionGroup.h"

/// @file
/// What families store beside numbers and texts.

namespace Veltrix {

namespace Tool {

/// JSON text of an object that is stored by itself.
struct StoredText {
    std::string json;
};

/// Reads an object that is stored by itself; what it finds wrong names the key of the part.
void readPart(JSON::StringImportable& object, const Support::JsonView& part);

/// The position of a text among names. Throws `JsonError` for another one.
std::size_t readChoice(const Support::JsonView& value, const std::vector<std::string>& names);

}  // namespace Tool

template <>
struct Stored<Tool::StoredText> {
    static void write(Support::JsonWriter& json, const Tool::StoredText& text) {
        json.json(text.json);
    }
};

namespace Tool {

template <class Archive, class Model>
void storedModel(Archive& a, std::string_view key, Model& model) {
    if constexpr (Archive::kReads) {
        readPart(model, a.view().at(key));
    } else {
        a(key, StoredText{model.toJson().toUtf8()});
    }
}

/// One of several values by its name.
template <class Archive, class Value>
void storedChoice(Archive& a, std::string_view key, Value& value,
                  const Choices<std::remove_const_t<Value>>& choices) {
    if constexpr (Archive::kReads) {
        std::vector<std::string> names;
        for (const auto& [name, meaning] : choices) names.emplace_back(name);
        value = choices[readChoice(a.view().at(key), names)].second;
    } else {
        a(key, nameOf(value, choices));
    }
}

}  // namespace Tool
}  // namespace Veltrix

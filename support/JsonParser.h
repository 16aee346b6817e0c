#pragma once

/// @file
/// What a parsed JSON text becomes: values of 16 bytes in one array and their texts in another.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Veltrix::Support {

enum class JsonKind : std::uint8_t { Null, Bool, Double, Integer, Natural, Text, Array, Object };

/// A value. Of a text `natural` is where it begins and `size` its length in bytes; of an array or
/// object they are the place of its first part and the number of parts: the elements, or names and
/// values by turns.
struct JsonNode {
    JsonKind kind = JsonKind::Null;
    std::uint64_t size : 56 = 0;
    union {
        std::uint64_t natural = 0;  ///< also 0 or 1 for false or true
        std::int64_t integer;       ///< below 0
        double number;
    };
};
static_assert(sizeof(JsonNode) == 16);

struct JsonStore {
    JsonNode root;
    std::vector<JsonNode> nodes;  ///< parts of a container lie side by side
    std::string texts;

    std::string_view text(const JsonNode& node) const {
        return std::string_view(texts).substr(node.natural, node.size);
    }
    std::span<const JsonNode> parts(const JsonNode& node) const {
        return std::span(nodes).subspan(node.natural, node.size);
    }
};

/// Parses a whole UTF-8 text. Throws `JsonError` with line and column, also for containers nested
/// deeper than `maxDepth`.
JsonStore parseJson(std::string_view text, int maxDepth);

}  // namespace Veltrix::Support

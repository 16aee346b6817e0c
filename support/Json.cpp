#include "support/Json.h"

#include <cassert>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace Veltrix::Support {

namespace {

using Node = nlohmann::ordered_json;

constexpr std::string_view kNaN = "NaN";
constexpr std::string_view kInfinity = "Infinity";
constexpr std::string_view kMinusInfinity = "-Infinity";

std::string_view kindOf(const Node& node) {
    switch (node.type()) {
        case Node::value_t::null:
            return "null";
        case Node::value_t::object:
            return "an object";
        case Node::value_t::array:
            return "an array";
        case Node::value_t::string:
            return "text";
        case Node::value_t::boolean:
            return "true or false";
        default:
            return "a number";
    }
}

std::optional<double> doubleOf(const Node& node) {
    if (node.is_number()) return node.get<double>();
    if (!node.is_string()) return std::nullopt;
    const auto& text = node.get_ref<const std::string&>();
    if (text == kNaN) return std::numeric_limits<double>::quiet_NaN();
    if (text == kInfinity) return std::numeric_limits<double>::infinity();
    if (text == kMinusInfinity) return -std::numeric_limits<double>::infinity();
    return std::nullopt;
}

template <class Integer>
std::optional<Integer> integerOf(const Node& node) {
    if (node.is_number_unsigned()) {
        const auto value = node.get<std::uint64_t>();
        if (std::in_range<Integer>(value)) return static_cast<Integer>(value);
    } else if (node.is_number_integer()) {
        const auto value = node.get<std::int64_t>();
        if (std::in_range<Integer>(value)) return static_cast<Integer>(value);
    }
    return std::nullopt;
}

constexpr std::string_view kDoubleKind = "a number";
constexpr std::string_view kIntegerKind = "an integer within range";

/// The library's message without its tag in brackets.
std::string plainMessage(const std::exception& error) {
    const std::string_view text = error.what();
    const std::size_t tag = text.find("] ");
    return std::string(tag == std::string_view::npos ? text : text.substr(tag + 2));
}

}  // namespace

// ---- Reading ----

std::string JsonView::toJson() const { return node_->dump(); }
bool JsonView::isNull() const { return node_->is_null(); }
bool JsonView::isBool() const { return node_->is_boolean(); }
bool JsonView::isNumber() const { return doubleOf(*node_).has_value(); }
bool JsonView::isString() const { return node_->is_string(); }
bool JsonView::isArray() const { return node_->is_array(); }
bool JsonView::isObject() const { return node_->is_object(); }

void JsonView::fail(std::string_view problem) const {
    const std::string place = path_.empty() ? "document" : "key \"" + path_ + "\"";
    throw JsonError("JSON " + place + ": " + std::string(problem));
}

void JsonView::failKind(std::string_view expected) const {
    fail(std::string(expected) + " expected, found " + std::string(kindOf(*node_)));
}

std::optional<JsonView> JsonView::find(std::string_view key) const {
    if (!isObject()) failKind("an object");
    const auto member = node_->find(key);
    if (member == node_->end()) return std::nullopt;
    return JsonView(*member, path_.empty() ? std::string(key) : path_ + "." + std::string(key));
}

JsonView JsonView::at(std::string_view key) const {
    std::optional<JsonView> member = find(key);
    if (!member) fail("the member \"" + std::string(key) + "\" is missing");
    return *std::move(member);
}

std::vector<std::string> JsonView::keys() const {
    if (!isObject()) failKind("an object");
    std::vector<std::string> names;
    names.reserve(node_->size());
    for (const auto& member : node_->items()) names.push_back(member.key());
    return names;
}

const Node& JsonView::arrayNode() const {
    if (!isArray()) failKind("an array");
    return *node_;
}

std::int64_t JsonView::size() const { return static_cast<std::int64_t>(arrayNode().size()); }

JsonView JsonView::element(std::int64_t index) const {
    return JsonView((*node_)[static_cast<std::size_t>(index)],
                    path_ + "[" + std::to_string(index) + "]");
}

JsonView JsonView::at(std::int64_t index) const {
    if (index < 0 || index >= size()) {
        fail("element " + std::to_string(index) + " is missing, the array has " +
             std::to_string(size()));
    }
    return element(index);
}

bool JsonView::asBool() const {
    if (!isBool()) failKind("true or false");
    return node_->get<bool>();
}

double JsonView::asDouble() const {
    const std::optional<double> value = doubleOf(*node_);
    if (!value) failKind(kDoubleKind);
    return *value;
}

std::int32_t JsonView::asInt32() const {
    const auto value = integerOf<std::int32_t>(*node_);
    if (!value) failKind(kIntegerKind);
    return *value;
}

std::int64_t JsonView::asInt64() const {
    const auto value = integerOf<std::int64_t>(*node_);
    if (!value) failKind(kIntegerKind);
    return *value;
}

std::uint64_t JsonView::asUint64() const {
    const auto value = integerOf<std::uint64_t>(*node_);
    if (!value) failKind(kIntegerKind);
    return *value;
}

const std::string& JsonView::asString() const {
    if (!isString()) failKind("text");
    return node_->get_ref<const std::string&>();
}

// Arrays are read node by node; a view, with its path, is made only for the element that fails.

std::vector<double> JsonView::asDoubles() const {
    std::vector<double> values(static_cast<std::size_t>(size()));
    copyDoubles(values);
    return values;
}

void JsonView::copyDoubles(std::span<double> target) const {
    const Node& array = arrayNode();
    if (array.size() != target.size()) {
        fail(std::to_string(target.size()) + " numbers expected, found " +
             std::to_string(array.size()));
    }
    for (std::size_t i = 0; i < target.size(); ++i) {
        const std::optional<double> value = doubleOf(array[i]);
        if (!value) element(static_cast<std::int64_t>(i)).failKind(kDoubleKind);
        target[i] = *value;
    }
}

std::vector<std::int32_t> JsonView::asInt32s() const {
    std::vector<std::int32_t> values;
    values.reserve(arrayNode().size());
    for (const Node& node : *node_) {
        const auto value = integerOf<std::int32_t>(node);
        if (!value) element(std::ssize(values)).failKind(kIntegerKind);
        values.push_back(*value);
    }
    return values;
}

std::vector<std::string> JsonView::asStrings() const {
    std::vector<std::string> values;
    values.reserve(arrayNode().size());
    for (const Node& node : *node_) {
        if (!node.is_string()) element(std::ssize(values)).failKind("text");
        values.push_back(node.get_ref<const std::string&>());
    }
    return values;
}

JsonDocument::JsonDocument(std::unique_ptr<Node> root) : root_(std::move(root)) {}
JsonDocument::JsonDocument(JsonDocument&&) noexcept = default;
JsonDocument& JsonDocument::operator=(JsonDocument&&) noexcept = default;
JsonDocument::~JsonDocument() = default;

JsonDocument JsonDocument::parse(std::string_view text) {
    const auto limitDepth = [](int depth, Node::parse_event_t event, const Node&) {
        const bool opens =
            event == Node::parse_event_t::object_start || event == Node::parse_event_t::array_start;
        if (opens && depth >= kMaxDepth) {
            throw JsonError("JSON text: nested deeper than " + std::to_string(kMaxDepth) +
                            " levels");
        }
        return true;
    };
    try {
        return JsonDocument(std::make_unique<Node>(Node::parse(text, limitDepth)));
    } catch (const Node::exception& error) {
        throw JsonError("JSON text: " + plainMessage(error));
    }
}

JsonView JsonDocument::root() const { return JsonView(*root_, std::string()); }

// ---- Writing ----

void JsonWriter::separate() {
    if (needsComma_) text_.push_back(',');
    needsComma_ = true;
}

JsonWriter& JsonWriter::open(char bracket) {
    separate();
    text_.push_back(bracket);
    needsComma_ = false;
    ++depth_;
    return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
    assert(depth_ > 0);
    --depth_;
    text_.push_back(bracket);
    needsComma_ = true;
    return *this;
}

JsonWriter& JsonWriter::beginObject() { return open('{'); }
JsonWriter& JsonWriter::endObject() { return close('}'); }
JsonWriter& JsonWriter::beginArray() { return open('['); }
JsonWriter& JsonWriter::endArray() { return close(']'); }

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    appendString(name);
    text_.push_back(':');
    needsComma_ = false;
    return *this;
}

JsonWriter& JsonWriter::literal(std::string_view text) {
    separate();
    text_.append(text);
    return *this;
}

JsonWriter& JsonWriter::null() { return literal("null"); }

JsonWriter& JsonWriter::signedInteger(std::int64_t number) {
    return literal(std::to_string(number));
}

JsonWriter& JsonWriter::unsignedInteger(std::uint64_t number) {
    return literal(std::to_string(number));
}

JsonWriter& JsonWriter::value(double number) {
    separate();
    appendDouble(number);
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    separate();
    appendString(text);
    return *this;
}

JsonWriter& JsonWriter::value(std::span<const double> numbers) {
    beginArray();
    for (const double number : numbers) value(number);
    return endArray();
}

JsonWriter& JsonWriter::value(std::span<const std::int32_t> numbers) {
    beginArray();
    for (const std::int32_t number : numbers) value(number);
    return endArray();
}

JsonWriter& JsonWriter::value(std::span<const std::string> texts) {
    beginArray();
    for (const std::string& text : texts) value(text);
    return endArray();
}

void JsonWriter::appendDouble(double number) {
    if (!std::isfinite(number)) {
        return appendString(std::isnan(number) ? kNaN : number > 0 ? kInfinity : kMinusInfinity);
    }
    if (number == 0.0) {  // "-0" would read back as the integer 0
        text_.append(std::signbit(number) ? "-0.0" : "0");
        return;
    }
    char buffer[32];
    const auto written =
        std::to_chars(std::begin(buffer), std::end(buffer), number, std::chars_format::general, 17);
    text_.append(std::begin(buffer), written.ptr);
}

void JsonWriter::appendString(std::string_view text) {
    static constexpr std::string_view kHex = "0123456789abcdef";
    text_.push_back('"');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            text_.push_back('\\');
            text_.push_back(c);
        } else if (byte < 0x20) {
            text_.append("\\u00");
            text_.push_back(kHex[byte >> 4]);
            text_.push_back(kHex[byte & 15]);
        } else {
            text_.push_back(c);
        }
    }
    text_.push_back('"');
}

std::string JsonWriter::take() {
    assert(depth_ == 0);
    needsComma_ = false;
    return std::exchange(text_, std::string());
}

namespace {

constexpr std::int32_t kStoredVersion = 1;

std::string inQuotes(std::string_view text) { return std::string("\"").append(text).append("\""); }

[[noreturn]] void failExpected(const JsonView& view, std::string_view expected,
                               std::string_view found) {
    std::string problem(expected);
    view.fail(problem.append(" expected, ").append(found).append(" found"));
}

}  // namespace

JsonWriter& beginStored(JsonWriter& writer, std::string_view type) {
    return writer.beginObject().member("type", type).member("version", kStoredVersion);
}

void checkStored(const JsonView& root, std::string_view type) {
    const JsonView found = root.at("type");
    if (found.asString() != type) {
        failExpected(found, inQuotes(type), inQuotes(found.asString()));
    }
    const JsonView version = root.at("version");
    if (version.asInt32() != kStoredVersion) {
        failExpected(version, std::to_string(kStoredVersion), std::to_string(version.asInt32()));
    }
}

}  // namespace Veltrix::Support

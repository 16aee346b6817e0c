#include "support/Json.h"

#include <cassert>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "support/JsonParser.h"

namespace Veltrix::Support {

namespace {

constexpr std::string_view kNaN = "NaN";
constexpr std::string_view kInfinity = "Infinity";
constexpr std::string_view kMinusInfinity = "-Infinity";

std::string_view kindOf(const JsonNode& node) {
    switch (node.kind) {
        case JsonKind::Null:
            return "null";
        case JsonKind::Object:
            return "an object";
        case JsonKind::Array:
            return "an array";
        case JsonKind::Text:
            return "text";
        case JsonKind::Bool:
            return "true or false";
        default:
            return "a number";
    }
}

std::optional<double> doubleOf(const JsonStore& store, const JsonNode& node) {
    switch (node.kind) {
        case JsonKind::Double:
            return node.number;
        case JsonKind::Integer:
            return static_cast<double>(node.integer);
        case JsonKind::Natural:
            return static_cast<double>(node.natural);
        default:
            break;
    }
    if (node.kind != JsonKind::Text) return std::nullopt;
    const std::string_view text = store.text(node);
    if (text == kNaN) return std::numeric_limits<double>::quiet_NaN();
    if (text == kInfinity) return std::numeric_limits<double>::infinity();
    if (text == kMinusInfinity) return -std::numeric_limits<double>::infinity();
    return std::nullopt;
}

template <class Integer>
std::optional<Integer> integerOf(const JsonNode& node) {
    if (node.kind == JsonKind::Natural) {
        if (std::in_range<Integer>(node.natural)) return static_cast<Integer>(node.natural);
    } else if (node.kind == JsonKind::Integer) {
        if (std::in_range<Integer>(node.integer)) return static_cast<Integer>(node.integer);
    }
    return std::nullopt;
}

constexpr std::string_view kDoubleKind = "a number";
constexpr std::string_view kIntegerKind = "an integer within range";

void writeNode(JsonWriter& writer, const JsonStore& store, const JsonNode& node) {
    switch (node.kind) {
        case JsonKind::Null:
            writer.null();
            break;
        case JsonKind::Bool:
            writer.value(node.natural != 0);
            break;
        case JsonKind::Double:
            writer.value(node.number);
            break;
        case JsonKind::Integer:
            writer.value(node.integer);
            break;
        case JsonKind::Natural:
            writer.value(node.natural);
            break;
        case JsonKind::Text:
            writer.value(store.text(node));
            break;
        case JsonKind::Array:
            writer.beginArray();
            for (const JsonNode& each : store.parts(node)) writeNode(writer, store, each);
            writer.endArray();
            break;
        case JsonKind::Object: {
            const std::span<const JsonNode> parts = store.parts(node);
            writer.beginObject();
            for (std::size_t k = 0; k < parts.size(); k += 2) {
                writeNode(writer.key(store.text(parts[k])), store, parts[k + 1]);
            }
            writer.endObject();
            break;
        }
    }
}

}  // namespace

// ---- Reading ----

std::string jsonText(const JsonStore& store, const JsonNode& node) {
    JsonWriter writer;
    writeNode(writer, store, node);
    return writer.take();
}

std::string JsonView::toJson() const { return jsonText(*store_, *node_); }

bool JsonView::isNull() const { return node_->kind == JsonKind::Null; }
bool JsonView::isBool() const { return node_->kind == JsonKind::Bool; }
bool JsonView::isNumber() const { return doubleOf(*store_, *node_).has_value(); }
bool JsonView::isString() const { return node_->kind == JsonKind::Text; }
bool JsonView::isArray() const { return node_->kind == JsonKind::Array; }
bool JsonView::isObject() const { return node_->kind == JsonKind::Object; }

void JsonView::fail(std::string_view problem) const {
    const std::string place = path_.empty() ? "document" : "key \"" + path_ + "\"";
    throw JsonError("JSON " + place + ": " + std::string(problem));
}

void JsonView::failKind(std::string_view expected) const {
    fail(std::string(expected) + " expected, found " + std::string(kindOf(*node_)));
}

std::span<const JsonNode> JsonView::members() const {
    if (!isObject()) failKind("an object");
    return store_->parts(*node_);
}

std::optional<JsonView> JsonView::find(std::string_view key) const {
    const std::span<const JsonNode> parts = members();
    for (std::size_t k = parts.size(); k > 0; k -= 2) {
        if (store_->text(parts[k - 2]) != key) continue;
        return JsonView(*store_, parts[k - 1],
                        path_.empty() ? std::string(key) : path_ + "." + std::string(key));
    }
    return std::nullopt;
}

JsonView JsonView::at(std::string_view key) const {
    std::optional<JsonView> member = find(key);
    if (!member) fail("the member \"" + std::string(key) + "\" is missing");
    return *std::move(member);
}

std::vector<std::string> JsonView::keys() const {
    const std::span<const JsonNode> parts = members();
    std::vector<std::string> names;
    names.reserve(parts.size() / 2);
    for (std::size_t k = 0; k < parts.size(); k += 2) names.emplace_back(store_->text(parts[k]));
    return names;
}

std::span<const JsonNode> JsonView::elements() const {
    if (!isArray()) failKind("an array");
    return store_->parts(*node_);
}

std::int64_t JsonView::size() const { return static_cast<std::int64_t>(elements().size()); }

JsonView JsonView::element(std::int64_t index) const {
    return JsonView(*store_, elements()[static_cast<std::size_t>(index)],
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
    return node_->natural != 0;
}

double JsonView::asDouble() const {
    const std::optional<double> value = doubleOf(*store_, *node_);
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

std::string JsonView::asString() const {
    if (!isString()) failKind("text");
    return std::string(store_->text(*node_));
}

// Arrays are read node by node; a view, with its path, is made only for the element that fails.

std::vector<double> JsonView::asDoubles() const {
    std::vector<double> values(elements().size());
    copyDoubles(values);
    return values;
}

void JsonView::copyDoubles(std::span<double> target) const {
    const std::span<const JsonNode> array = elements();
    if (array.size() != target.size()) {
        fail(std::to_string(target.size()) + " numbers expected, found " +
             std::to_string(array.size()));
    }
    for (std::size_t i = 0; i < target.size(); ++i) {
        const std::optional<double> value = doubleOf(*store_, array[i]);
        if (!value) element(static_cast<std::int64_t>(i)).failKind(kDoubleKind);
        target[i] = *value;
    }
}

std::vector<std::int32_t> JsonView::asInt32s() const {
    std::vector<std::int32_t> values;
    values.reserve(elements().size());
    for (const JsonNode& node : elements()) {
        const auto value = integerOf<std::int32_t>(node);
        if (!value) element(std::ssize(values)).failKind(kIntegerKind);
        values.push_back(*value);
    }
    return values;
}

std::vector<std::string> JsonView::asStrings() const {
    std::vector<std::string> values;
    values.reserve(elements().size());
    for (const JsonNode& node : elements()) {
        if (node.kind != JsonKind::Text) element(std::ssize(values)).failKind("text");
        values.emplace_back(store_->text(node));
    }
    return values;
}

JsonDocument::JsonDocument(std::unique_ptr<const JsonStore> store) : store_(std::move(store)) {}
JsonDocument::JsonDocument(JsonDocument&&) noexcept = default;
JsonDocument& JsonDocument::operator=(JsonDocument&&) noexcept = default;
JsonDocument::~JsonDocument() = default;

JsonDocument JsonDocument::parse(std::string_view text, int maxDepth) {
    return JsonDocument(std::make_unique<const JsonStore>(parseJson(text, maxDepth)));
}

JsonView JsonDocument::root() const { return JsonView(*store_, store_->root, std::string()); }

// ---- Writing ----

void JsonWriter::separate() {
    if (sink_ && text_.size() >= kPiece) {
        sink_(text_);
        text_.clear();
    }
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

void JsonWriter::finish() {
    assert(depth_ == 0 && sink_);
    sink_(text_);
    text_.clear();
    needsComma_ = false;
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

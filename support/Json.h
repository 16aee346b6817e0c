#pragma once

/// @file
/// JSON text: a document that is read through typed views, and a streaming writer.
///
/// Doubles are written with 17 significant digits, so that they read back bit for bit; NaN and the
/// infinities are the strings "NaN", "Infinity" and "-Infinity". All text is UTF-8.

#include <concepts>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace Veltrix::Support {

/// Text that is no JSON, or a value that is missing or of another kind than expected; `what()`
/// names the position or the key.
struct JsonError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct JsonNode;
struct JsonStore;

/// A value of a document as JSON text.
std::string jsonText(const JsonStore& store, const JsonNode& node);

/// One value of a document, with the path that leads to it for use in messages
/// ("model.coefficients[3]"). Cheap to copy; valid as long as its `JsonDocument`.
///
/// Every access that does not find what its name says throws `JsonError` with the path.
class JsonView {
  public:
    bool isNull() const;
    bool isBool() const;
    bool isNumber() const;
    bool isString() const;
    bool isArray() const;
    bool isObject() const;

    /// Member of an object; the key must be there.
    JsonView at(std::string_view key) const;
    /// Member of an object, if there is one under this key; the last one if there are several.
    std::optional<JsonView> find(std::string_view key) const;
    /// Member names of an object in the order of the text.
    std::vector<std::string> keys() const;

    /// Number of elements of an array.
    std::int64_t size() const;
    /// Element of an array.
    JsonView at(std::int64_t index) const;

    bool asBool() const;
    /// A number, or one of the strings for non-finite values.
    double asDouble() const;
    /// A number without fraction or exponent that fits.
    std::int32_t asInt32() const;
    std::int64_t asInt64() const;
    std::uint64_t asUint64() const;
    std::string asString() const;

    std::vector<double> asDoubles() const;
    std::vector<std::int32_t> asInt32s() const;
    std::vector<std::string> asStrings() const;

    /// An array of exactly target.size() doubles, written into the target.
    void copyDoubles(std::span<double> target) const;

    /// The value as JSON text, for those who read a part by themselves.
    std::string toJson() const;

    const std::string& path() const { return path_; }

    /// The value itself, for those who walk through millions of parts without a path for each.
    const JsonStore& store() const { return *store_; }
    const JsonNode& node() const { return *node_; }

    /// Throws `JsonError` for this value: `key "PATH": PROBLEM`. For rules beyond the kind of a
    /// value (a wrong length, an unknown name).
    [[noreturn]] void fail(std::string_view problem) const;

  private:
    friend class JsonDocument;
    JsonView(const JsonStore& store, const JsonNode& node, std::string path)
        : store_(&store), node_(&node), path_(std::move(path)) {}

    std::span<const JsonNode> elements() const;
    /// Names and values by turns.
    std::span<const JsonNode> members() const;
    [[noreturn]] void failKind(std::string_view expected) const;
    JsonView element(std::int64_t index) const;

    const JsonStore* store_;
    const JsonNode* node_;
    std::string path_;
};

/// A parsed text; owns the values that views look at, 16 bytes each beside the texts. Its
/// destructor allocates nothing.
class JsonDocument {
  public:
    /// Arrays and objects nested deeper than this are refused.
    static constexpr int kMaxDepth = 256;

    /// Parses a whole UTF-8 text. Throws `JsonError` with line and column.
    static JsonDocument parse(std::string_view text, int maxDepth = kMaxDepth);

    JsonDocument(JsonDocument&&) noexcept;
    JsonDocument& operator=(JsonDocument&&) noexcept;
    ~JsonDocument();

    /// The outermost value.
    JsonView root() const;

  private:
    explicit JsonDocument(std::unique_ptr<const JsonStore> store);

    std::unique_ptr<const JsonStore> store_;
};

/// Writes JSON text front to back, into a string or piece by piece to whoever takes it.
///
/// Commas are set by the writer; the caller pairs begin and end and writes a key before every value
/// inside an object (pairing is asserted in debug builds). Strings must be valid UTF-8.
class JsonWriter {
  public:
    /// Takes the next piece of the text; a piece ends between characters.
    using Sink = std::function<void(std::string_view)>;

    JsonWriter() = default;
    explicit JsonWriter(Sink sink) : sink_(std::move(sink)) {}

    JsonWriter& beginObject();
    JsonWriter& endObject();
    JsonWriter& beginArray();
    JsonWriter& endArray();
    JsonWriter& key(std::string_view name);

    JsonWriter& null();
    /// A value that is JSON text already.
    JsonWriter& json(std::string_view text) { return literal(text); }
    JsonWriter& value(double number);
    JsonWriter& value(std::string_view text);
    template <std::integral T>
    JsonWriter& value(T number) {
        if constexpr (std::same_as<T, bool>) {
            return literal(number ? "true" : "false");
        } else if constexpr (std::is_signed_v<T>) {
            return signedInteger(number);
        } else {
            return unsignedInteger(number);
        }
    }

    /// A whole array.
    JsonWriter& value(std::span<const double> numbers);
    JsonWriter& value(std::span<const std::int32_t> numbers);
    JsonWriter& value(std::span<const std::string> texts);

    /// `key(name)` and `value(...)` in one.
    template <class T>
    JsonWriter& member(std::string_view name, const T& content) {
        return key(name).value(content);
    }

    /// The finished text of a writer without sink; the writer is empty again.
    std::string take();
    /// Hands the rest of the text to the sink.
    void finish();

  private:
    /// What is gathered before the sink gets it.
    static constexpr std::size_t kPiece = std::size_t{1} << 16;

    void separate();
    JsonWriter& open(char bracket);
    JsonWriter& close(char bracket);
    JsonWriter& literal(std::string_view text);
    JsonWriter& signedInteger(std::int64_t number);
    JsonWriter& unsignedInteger(std::uint64_t number);
    void appendDouble(double number);
    void appendString(std::string_view text);

    Sink sink_;
    std::string text_;
    std::int64_t depth_ = 0;
    bool needsComma_ = false;
};

/// Opens the object of something stored: {"type": TYPE, "version": 1, ...
JsonWriter& beginStored(JsonWriter& writer, std::string_view type);

/// Throws `JsonError` naming the key unless `root` is a stored object of that type and of the
/// version written now.
void checkStored(const JsonView& root, std::string_view type);

}  // namespace Veltrix::Support

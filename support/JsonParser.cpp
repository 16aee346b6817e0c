#include "support/JsonParser.h"

#include <exception>

#include <nlohmann/json.hpp>

#include "support/Json.h"

namespace Veltrix::Support {

namespace {

/// The library's message without its tag in brackets.
std::string plainMessage(const std::exception& error) {
    const std::string_view text = error.what();
    const std::size_t tag = text.find("] ");
    return std::string(tag == std::string_view::npos ? text : text.substr(tag + 2));
}

constexpr std::uint64_t kSizeBits = (std::uint64_t{1} << 56) - 1;

/// Takes the parser's events. The parts of open containers wait on a stack, and move to the store
/// as one run when their container closes.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
  public:
    Builder(JsonStore& store, int maxDepth) : store_(store), maxDepth_(maxDepth) {}

    bool null() override { return add({}); }
    bool boolean(bool value) override {
        return add({.kind = JsonKind::Bool, .natural = value ? 1U : 0U});
    }
    bool number_integer(std::int64_t value) override {
        return add({.kind = JsonKind::Integer, .integer = value});
    }
    bool number_unsigned(std::uint64_t value) override {
        return add({.kind = JsonKind::Natural, .natural = value});
    }
    bool number_float(double value, const std::string& /*text*/) override {
        return add({.kind = JsonKind::Double, .number = value});
    }
    bool string(std::string& value) override { return add(textNode(value)); }
    bool binary(nlohmann::json::binary_t& /*value*/) override { return false; }
    bool start_object(std::size_t /*size*/) override { return open(); }
    bool key(std::string& name) override { return add(textNode(name)); }
    bool end_object() override { return close(JsonKind::Object); }
    bool start_array(std::size_t /*size*/) override { return open(); }
    bool end_array() override { return close(JsonKind::Array); }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::json::exception& error) override {
        throw JsonError("JSON text: " + plainMessage(error));
    }

    /// The outermost value.
    JsonNode root() const { return waiting_.front(); }

  private:
    bool add(JsonNode node) {
        waiting_.push_back(node);
        return true;
    }
    JsonNode textNode(const std::string& text) {
        const std::size_t start = store_.texts.size();
        store_.texts += text;
        return {.kind = JsonKind::Text, .size = text.size() & kSizeBits, .natural = start};
    }
    bool open() {
        if (static_cast<int>(starts_.size()) >= maxDepth_) {
            throw JsonError("JSON text: nested deeper than " + std::to_string(maxDepth_) +
                            " levels");
        }
        starts_.push_back(waiting_.size());
        return true;
    }
    bool close(JsonKind kind) {
        const auto first = waiting_.begin() + static_cast<std::ptrdiff_t>(starts_.back());
        const JsonNode node{.kind = kind,
                            .size = static_cast<std::uint64_t>(waiting_.end() - first) & kSizeBits,
                            .natural = store_.nodes.size()};
        store_.nodes.insert(store_.nodes.end(), first, waiting_.end());
        waiting_.erase(first, waiting_.end());
        starts_.pop_back();
        return add(node);
    }

    JsonStore& store_;
    int maxDepth_;
    std::vector<JsonNode> waiting_;
    std::vector<std::size_t> starts_;
};

}  // namespace

JsonStore parseJson(std::string_view text, int maxDepth) {
    JsonStore store;
    Builder builder(store, maxDepth);
    nlohmann::json::sax_parse(text, &builder);
    store.root = builder.root();
    return store;
}

}  // namespace Veltrix::Support

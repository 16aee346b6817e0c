#include "tools/veltrix/host/SamplingOptions.h"

#include <charconv>
#include <limits>
#include <optional>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "support/NumberText.h"
#include "tools/veltrix/host/UserError.h"

namespace Veltrix::Tool {

namespace {

template <class Integer>
std::optional<Integer> wholeNumber(const std::string& text, Integer least) {
    Integer value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stop != end || value < least) return std::nullopt;
    return value;
}

std::optional<double> shareOf(const std::string& text) {
    const std::optional<double> value = Support::parseNumber(std::string_view(text));
    return value && *value >= 0.0 && *value <= 1.0 ? value : std::nullopt;
}

/// Declares an option whose text `read` turns into the value, or into nothing when it is none.
template <class Value, class Read>
CLI::Option* declareValue(CLI::App& app, const std::string& name, Value& value,
                          const std::string& description, Read read, const std::string& expected) {
    return app
        .add_option_function<std::string>(
            name, [&value, read](const std::string& text) { value = *read(text); }, description)
        ->check([read, expected](const std::string& text) {
            return read(text) ? std::string() : Tool::quoted(text) + ", expected " + expected;
        });
}

template <class Integer>
std::string rangeText(Integer least) {
    return fmt::format("a whole number from {} to {}", least, std::numeric_limits<Integer>::max());
}

}  // namespace

void declareSeed(CLI::App& app, std::uint32_t& seed) {
    declareValue(
        app, "--seed", seed, "Seed of the random numbers",
        [](const std::string& text) { return wholeNumber<std::uint32_t>(text, 0); },
        rangeText<std::uint32_t>(0))
        ->type_name("N")
        ->default_str(std::to_string(seed));
}

CLI::Option* declareCount(CLI::App& app, const std::string& name, int& count,
                          const std::string& description, int least) {
    return declareValue(
               app, name, count, description,
               [least](const std::string& text) { return wholeNumber<int>(text, least); },
               rangeText(least))
        ->type_name("K");
}

CLI::Option* declareShare(CLI::App& app, const std::string& name, double& share,
                          const std::string& description) {
    return declareValue(app, name, share, description, shareOf, "a number from 0 to 1")
        ->type_name("SHARE");
}

}  // namespace Veltrix::Tool

#include "tools/veltrix/host/OptionGroup.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "support/NumberText.h"
#include "tools/veltrix/host/TextParts.h"
#include "tools/veltrix/host/UserError.h"
#include "tools/veltrix/io/CsvDialect.h"
#include "tools/veltrix/report/ReportOutput.h"

namespace Veltrix::Tool {

namespace {

/// Reads a whole number of at least `least`.
template <class Integer>
struct WholeNumber {
    Integer least;

    std::optional<Integer> operator()(const std::string& text) const {
        Integer value = 0;
        const char* const end = text.data() + text.size();
        const auto [stop, error] = std::from_chars(text.data(), end, value);
        if (error != std::errc() || stop != end || value < least) return std::nullopt;
        return value;
    }
};

template <class Integer>
std::string rangeText(Integer least) {
    return fmt::format("a whole number from {} to {}", least, std::numeric_limits<Integer>::max());
}

std::string expectFileName(const std::string& text) {
    return text.empty() ? "expected a file name" : "";
}

}  // namespace

OptionGroup::Option OptionGroup::Option::required() {
    option_->required();
    return *this;
}

OptionGroup::Option OptionGroup::Option::placeholder(const std::string& name) {
    option_->type_name(name);
    return *this;
}

OptionGroup::Option OptionGroup::Option::shown(const std::string& value) {
    option_->default_str(value);
    return *this;
}

OptionGroup::Option OptionGroup::Option::excludes(const std::string& other) {
    option_->excludes(app_->get_option(other));
    return *this;
}

OptionGroup::Option OptionGroup::Option::needs(const std::string& other) {
    option_->needs(app_->get_option(other));
    return *this;
}

template <class Value, class Parse>
OptionGroup::Option OptionGroup::parsed(const std::string& name, Value& value,
                                        const std::string& description, Parse parse,
                                        const std::string& expected) {
    CLI::Option* const option = app_.add_option_function<std::string>(
        name, [&value, parse](const std::string& text) { value = *parse(text); }, description);
    option->check([parse, expected](const std::string& text) {
        return parse(text) ? std::string() : Tool::quoted(text) + ", expected " + expected;
    });
    return {app_, *option};
}

OptionGroup::Option OptionGroup::flag(const std::string& name, bool& value,
                                      const std::string& description) {
    return {app_, *app_.add_flag(name, value, description)};
}

OptionGroup::Option OptionGroup::count(const std::string& name, int& value,
                                       const std::string& description, int least) {
    return parsed(name, value, description, WholeNumber<int>{least}, rangeText(least))
        .placeholder("N");
}

OptionGroup::Option OptionGroup::count(const std::string& name, std::int64_t& value,
                                       const std::string& description, std::int64_t least) {
    return parsed(name, value, description, WholeNumber<std::int64_t>{least},
                  fmt::format("a whole number of at least {}", least))
        .placeholder("N");
}

OptionGroup::Option OptionGroup::counts(const std::string& name, IntVector& values,
                                        const std::string& description, const std::string& none) {
    const auto parse = [none](const std::string& text) -> std::optional<IntVector> {
        IntVector numbers;
        if (text == none) return numbers;
        for (const std::string& part : CLI::detail::split(text, ',')) {
            const std::optional<int> number = WholeNumber<int>{1}(CLI::detail::trim_copy(part));
            if (!number) return std::nullopt;
            numbers.push_back(*number);
        }
        return numbers;
    };
    return parsed(name, values, description, parse,
                  fmt::format("whole numbers from 1 between commas, or {}", none))
        .placeholder("N,N")
        .shown(values.empty() ? none : fmt::format("{}", fmt::join(values, ",")));
}

OptionGroup::Option OptionGroup::number(const std::string& name, double& value,
                                        const std::string& description, double least) {
    const auto parse = [least](const std::string& text) {
        const std::optional<double> number = Support::parseNumber(std::string_view(text));
        return number && std::isfinite(*number) && *number >= least ? number : std::nullopt;
    };
    return parsed(name, value, description, parse, fmt::format("a number of at least {}", least))
        .placeholder("X");
}

namespace {

/// The number of a text when it lies between 0 and `most`.
auto numberUpTo(double most) {
    return [most](const std::string& text) {
        const std::optional<double> number = Support::parseNumber(std::string_view(text));
        return number && *number >= 0.0 && *number <= most ? number : std::nullopt;
    };
}

}  // namespace

OptionGroup::Option OptionGroup::share(const std::string& name, double& value,
                                       const std::string& description) {
    return parsed(name, value, description, numberUpTo(1.0), "a number from 0 to 1")
        .placeholder("SHARE");
}

OptionGroup::Option OptionGroup::percentage(const std::string& name, double& value,
                                            const std::string& description) {
    return parsed(name, value, description, numberUpTo(100.0), "a number from 0 to 100")
        .placeholder("PERCENT");
}

std::int64_t CountOrShare::of(std::int64_t total) const {
    if (count > 0) return count;
    // A product that is whole but for its rounding is whole.
    constexpr double kRounding = 1e-12;
    const double exact = percent * static_cast<double>(total) / 100.0;
    return std::max<std::int64_t>(1, std::llround(std::ceil(exact * (1.0 - kRounding))));
}

OptionGroup::Option OptionGroup::countOrShare(const std::string& name, CountOrShare& value,
                                              const std::string& description) {
    const auto parse = [](const std::string& text) -> std::optional<CountOrShare> {
        if (!text.ends_with('%')) {
            const auto count = WholeNumber<std::int64_t>{1}(text);
            if (!count) return std::nullopt;
            return CountOrShare{*count, 0.0};
        }
        const auto percent =
            Support::parseNumber(std::string_view(text).substr(0, text.size() - 1));
        if (!percent || !(*percent > 0.0 && *percent <= 100.0)) return std::nullopt;
        return CountOrShare{0, *percent};
    };
    return parsed(name, value, description, parse,
                  "a whole number from 1, or a percentage from above 0% to 100%")
        .placeholder("N|P%");
}

OptionGroup::Option OptionGroup::confidence(double& level) {
    const auto parse = [](const std::string& text) {
        const std::optional<double> number = Support::parseNumber(std::string_view(text));
        return number && *number > 0.0 && *number < 1.0 ? number : std::nullopt;
    };
    return parsed("--confidence", level, "Confidence level of intervals", parse,
                  "a number between 0 and 1 (0.95)")
        .placeholder("LEVEL")
        .shown(fmt::format("{}", level));
}

OptionGroup::Option OptionGroup::seed(std::uint32_t& seed) {
    return parsed("--seed", seed, "Seed of the random numbers", WholeNumber<std::uint32_t>{0},
                  rangeText(std::uint32_t{0}))
        .placeholder("N")
        .shown(std::to_string(seed));
}

OptionGroup::Option OptionGroup::text(const std::string& name, std::string& value,
                                      const std::string& description) {
    return {app_, *app_.add_option(name, value, description)};
}

OptionGroup::Option OptionGroup::name(const std::string& name, std::string& value,
                                      const std::string& description) {
    CLI::Option* const option = app_.add_option(name, value, description);
    option->check([](const std::string& text) { return text.empty() ? "expected a name" : ""; });
    option->type_name("NAME")->capture_default_str();
    return {app_, *option};
}

OptionGroup::Option OptionGroup::column(const std::string& name, std::string& value,
                                        const std::string& description) {
    return text(name, value, description).placeholder("COLUMN");
}

OptionGroup::Option OptionGroup::repeated(const std::string& name, std::vector<std::string>& values,
                                          const std::string& description) {
    CLI::Option* const option = app_.add_option(name, values, description);
    option->allow_extra_args(false);
    return {app_, *option};
}

OptionGroup::Option OptionGroup::list(const std::string& name, std::vector<std::string>& values,
                                      const std::string& description) {
    return repeated(name, values, description).placeholder("A,B");
}

OptionGroup::Option OptionGroup::texts(const std::string& name, std::vector<std::string>& values,
                                       const std::string& description) {
    const auto take = [&values](const std::string& text) {
        values = splitAtCommas(text);
        values.insert(values.begin(), "");
    };
    CLI::Option* const option = app_.add_option_function<std::string>(name, take, description);
    option->type_name("A,B");
    return {app_, *option};
}

OptionGroup::Option OptionGroup::delimiter(const std::string& name, std::optional<char>& value,
                                           const std::string& description) {
    return parsed(name, value, description, delimiterNamed,
                  "one character, or comma, semicolon, tab, bar or blank")
        .placeholder("CHARACTER");
}

OptionGroup::Option OptionGroup::mark(const std::string& name, std::optional<char>& value,
                                      const std::string& description, std::string_view characters) {
    const auto parse = [characters](std::string_view text) -> std::optional<char> {
        if (text.size() != 1 || characters.find(text.front()) == std::string_view::npos) return {};
        return text.front();
    };
    return parsed(name, value, description, parse,
                  fmt::format("one character of {}", Tool::quoted(characters)))
        .placeholder("CHARACTER");
}

OptionGroup::Option OptionGroup::file(FileOption& file, const std::string& description) {
    CLI::Option* const option = app_.add_option(file.option, file.path, description);
    option->check(expectFileName)->type_name("FILE");
    if (!file.ending.empty()) {
        option->check([ending = file.ending](const std::string& text) {
            if (CLI::detail::to_lower(text).ends_with(ending)) return std::string();
            return fmt::format("{}, expected a file name that ends in {}", Tool::quoted(text),
                               ending);
        });
    }
    return {app_, *option};
}

OptionGroup::Option OptionGroup::oneOf(const std::string& name, const std::string& description,
                                       const std::vector<std::string>& names,
                                       const std::string& usual,
                                       const std::function<void(std::size_t)>& choose) {
    CLI::Option* const option = app_.add_option_function<std::string>(
        name,
        [names, choose](const std::string& text) {
            choose(static_cast<std::size_t>(std::ranges::find(names, text) - names.begin()));
        },
        description);
    option->check(CLI::IsMember(names))->default_str(usual);
    return {app_, *option};
}

void OptionGroup::footer(const std::string& text) { app_.footer(text); }

}  // namespace Veltrix::Tool

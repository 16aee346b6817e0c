#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Veltrix/Data/IntVector.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Veltrix::Tool {

struct FileOption;

/// A whole number of at least 1, or a share of a total that is known later.
struct CountOrShare {
    std::int64_t count = 0;  ///< 0 for a share
    double percent = 0.0;

    /// The least count that is not below it.
    std::int64_t of(std::int64_t total) const;
};

inline constexpr std::uint32_t kDefaultSeed = 12345;

/// Names of values in options and files, the usual one first.
template <class Value>
using Choices = std::vector<std::pair<const char*, Value>>;

/// The name of one of the values.
template <class Value>
std::string nameOf(const Value& value, const Choices<Value>& choices) {
    for (const auto& [name, choice] : choices) {
        if (choice == value) return name;
    }
    return {};
}

/// The options of a command, in the order in which its help lists them. They write into variables
/// that live as long as the command; what a value must be is checked as the arguments are read, and
/// a mistake names the option, the value and what was expected.
class OptionGroup {
  public:
    /// What may be said of an option beyond its name and meaning.
    class Option {
      public:
        Option required();
        /// What stands for the value in the help text.
        Option placeholder(const std::string& name);
        /// The usual value as the help text shows it.
        Option shown(const std::string& value);
        /// The other option, which is declared already, must not be given too, or must be.
        Option excludes(const std::string& other);
        Option needs(const std::string& other);

      private:
        friend class OptionGroup;
        Option(CLI::App& app, CLI::Option& option) : app_(&app), option_(&option) {}

        CLI::App* app_;
        CLI::Option* option_;
    };

    explicit OptionGroup(CLI::App& app) : app_(app) {}

    Option flag(const std::string& name, bool& value, const std::string& description);
    /// A whole number of at least `least`.
    Option count(const std::string& name, int& value, const std::string& description,
                 int least = 0);
    Option count(const std::string& name, std::int64_t& value, const std::string& description,
                 std::int64_t least = 0);
    /// Whole numbers of at least 1 between commas, or the word for no number.
    Option counts(const std::string& name, IntVector& values, const std::string& description,
                  const std::string& none);
    /// A finite number of at least `least`.
    Option number(const std::string& name, double& value, const std::string& description,
                  double least);
    /// A whole number of at least 1, or a percentage above 0 as "1%".
    Option countOrShare(const std::string& name, CountOrShare& value,
                        const std::string& description);
    /// A number from 0 to 1.
    Option share(const std::string& name, double& value, const std::string& description);
    /// A number from 0 to 100.
    Option percentage(const std::string& name, double& value, const std::string& description);
    /// --confidence, a level inside (0, 1).
    Option confidence(double& level);
    /// --seed, a whole number from 0 to 4294967295.
    Option seed(std::uint32_t& seed);
    Option text(const std::string& name, std::string& value, const std::string& description);
    /// The name of something that the command makes, never empty.
    Option name(const std::string& name, std::string& value, const std::string& description);
    Option column(const std::string& name, std::string& value, const std::string& description);
    /// Values that may be repeated, each of which may hold several between commas.
    Option list(const std::string& name, std::vector<std::string>& values,
                const std::string& description);
    /// Values that may be repeated and are taken whole.
    Option repeated(const std::string& name, std::vector<std::string>& values,
                    const std::string& description);
    /// Texts between commas, after the empty one.
    Option texts(const std::string& name, std::vector<std::string>& values,
                 const std::string& description);
    /// A character between the cells of a row, or its name.
    Option delimiter(const std::string& name, std::optional<char>& value,
                     const std::string& description);
    /// One of the characters.
    Option mark(const std::string& name, std::optional<char>& value, const std::string& description,
                std::string_view characters);
    Option file(FileOption& file, const std::string& description);
    template <class Value>
    Option choice(const std::string& name, Value& value, const std::string& description,
                  const Choices<Value>& choices) {
        std::vector<std::string> names;
        for (const auto& [choice, meaning] : choices) names.emplace_back(choice);
        return oneOf(name, description, names, nameOf(value, choices),
                     [&value, choices](std::size_t k) { value = choices[k].second; });
    }

    /// What the help text says below the options.
    void footer(const std::string& text);

  private:
    Option oneOf(const std::string& name, const std::string& description,
                 const std::vector<std::string>& names, const std::string& usual,
                 const std::function<void(std::size_t)>& choose);
    /// An option whose text `parse` turns into the value, or into nothing when it is none.
    template <class Value, class Parse>
    Option parsed(const std::string& name, Value& value, const std::string& description,
                  Parse parse, const std::string& expected);

    CLI::App& app_;
};

}  // namespace Veltrix::Tool

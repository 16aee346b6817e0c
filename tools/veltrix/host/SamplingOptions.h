#pragma once

#include <cstdint>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Veltrix::Tool {

inline constexpr std::uint32_t kDefaultSeed = 12345;

/// Declares --seed, a whole number from 0 to 4294967295.
void declareSeed(CLI::App& app, std::uint32_t& seed);

/// Declares an option that takes a whole number of at least `least` that an `int` holds.
CLI::Option* declareCount(CLI::App& app, const std::string& name, int& count,
                          const std::string& description, int least = 0);

/// Declares an option that takes a share, a number from 0 to 1.
CLI::Option* declareShare(CLI::App& app, const std::string& name, double& share,
                          const std::string& description);

}  // namespace Veltrix::Tool

#pragma once

// The command line of velbench, understood but not yet acted on.

#include <optional>
#include <regex>
#include <string>

namespace velbench {

struct Options {
  bool quick = false;
  std::string json;
  std::string markdown;
  std::string plot;
  std::string kernels;
  std::string against;
  std::regex filter;
};

/// Reads the command line. Empty when only help was asked for (and given); throws
/// std::runtime_error when the options cannot be understood, or name files that cannot be written.
std::optional<Options> ParseOptions(int argc, const char* const* argv);

}  // namespace velbench

#pragma once

// The command line of velhost, understood but not yet acted on.

#include <optional>
#include <string>
#include <vector>

namespace velhost {

enum class HostKind { kConsole, kWeb, kCairo, kGdk };

/// What the command line asks for.
struct Options {
  std::vector<std::string> inputs;
  std::vector<std::string> calls;
  std::string output;
  HostKind host = HostKind::kConsole;
  double hostVersion = 0;
  std::string plugin;  ///< empty for VelPicture.so beside the executable
  std::string kernels;
  bool list = false;
  bool log = false;
  bool stats = false;
  bool sheet = false;
  bool times = true;
  bool testCard = false;
};

/// Reads the command line. Empty when only help was asked for (and given); throws Problem when the
/// options cannot be understood.
std::optional<Options> ParseOptions(int argc, const char* const* argv);

}  // namespace velhost

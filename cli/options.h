#pragma once

// The command line of velhost, understood but not yet acted on.

#include <optional>
#include <string>
#include <vector>

#include "check/check.h"
#include "imaging/image_file.h"

namespace CLI {
class App;
}

namespace velhost {

/// What the command line asks for.
struct Options {
  std::vector<std::string> inputs;
  std::vector<std::string> calls;
  std::string output;
  imaging::WriteOptions write;
  std::string host = "console";  ///< the name of one of sim::kHostKinds
  double hostVersion = 2012.01;
  std::string plugin;  ///< empty for VelPicture.so that came with velhost
  std::string kernels;
  bool force = false;
  bool orient = true;
  bool list = false;
  bool log = false;
  bool stats = false;
  bool sheet = false;  ///< instead of running the calls one after the other
  bool times = true;
  bool quiet = false;         ///< Only what is wrong, and numbers that were asked for, is said.
  check::CheckOptions check;  ///< asked for when it names a plugin
  std::string checkedCase;    ///< the only one to check; empty for all
  check::Telling telling;     ///< of its results
  std::string json;           ///< file for them; empty for none
  std::string junit;
};

/// Tells `app` all that a command line may hold, and to write it into `options`, which must outlive
/// it. The text in the place of a value is its choices (png|jpg|bmp), or in capitals what it is.
void DeclareOptions(CLI::App& app, Options& options);

/// Reads the command line. Empty when only help was asked for (and given); throws UserError when
/// the options cannot be understood or lack something.
std::optional<Options> ParseOptions(int argc, const char* const* argv);

}  // namespace velhost

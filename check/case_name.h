#pragma once

// The cases of the check and their names: "HMirrorVel/cairo/2011.5/call 3" is a method, a set-up of
// pictures, a host version, and the details.
//
// The words of the check: in a *case* a plugin is made to do one thing in one host, three times
// over, in a process of its own. A *scenario* makes it do that. An undisturbed case shows what is
// *usual*; in the others a *disturbance* goes wrong on purpose. A *group* is all the cases of a
// method in a host, a *way* the calls into the host that some of them take. A *place* is one in the
// plugin's code.

#include <optional>
#include <string>

#include "check/disturbance.h"
#include "check/inputs.h"

namespace check {

/// In the place of a method's name, for cases of something else.
constexpr const char* kLoading = "loading";
constexpr const char* kStartUp = "start-up";
constexpr const char* kTogether = "together";

/// What distinguishes the cases of one method in one host: "5x3", "33x16", "5x3 zero", "call 3",
/// "5x3 zero, call 3", "aligned, without newPicture".
struct Details {
  Size size = kUsualSize;
  const ArgumentSet* arguments = ArgumentSets().data();
  bool aligned = false;   ///< the caller's stack to 16 bytes, for plugins that need it
  bool reversed = false;  ///< methods together are called in reverse order
  Disturbance disturbance = {};
  /// Which litter lies where nobody wrote; no part of the name.
  unsigned litter = 0;

  std::string Name() const;
  /// Empty when the text does not name any.
  static std::optional<Details> Parse(std::string_view text);
};

struct Case {
  std::string method;
  const sim::PictureSetup* setup;
  double version;
  Details details;

  /// "HMirrorVel/cairo/2011.5/call 3"
  std::string Name() const;
  /// Throws sim::PluginError when there can be no such case.
  static Case Parse(const std::string& name);
};

/// Null when there is none of that name.
const sim::PictureSetup* SetupNamed(std::string_view name);

}  // namespace check

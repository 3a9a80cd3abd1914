#pragma once

// What a case of the check is, and its name: "HMirrorVel/cairo/2011.5/call 3" is a method, a kind
// of picture, a host version and what is done there.

#include <optional>
#include <string>

#include "check/disturbance.h"
#include "check/inputs.h"

namespace check {

/// Stand for a method where something else is looked at.
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
  /// What lies where nobody wrote: no part of the name.
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
  /// Throws Refused when there can be no such case.
  static Case Parse(const std::string& name);
};

/// Null when there is none of that name.
const sim::PictureSetup* SetupNamed(std::string_view name);

}  // namespace check

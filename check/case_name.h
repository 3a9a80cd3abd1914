#pragma once

// What a case of the check is, and its name: "HMirrorVel/cairo/2011.5/call 3" is a method, a kind
// of picture, a host version and a variant.

#include <optional>
#include <string>

#include "simulator/picture_setup.h"

namespace check {

enum class FaultKind { kNone, kCall, kFromCall, kException, kWithout };
enum class ArgumentSet { kUsual, kZero, kNegative };

/// What distinguishes the cases of one method in one host: "5x3", "5x3 zero", "call 3",
/// "from call 3", "exception 3", "without newPicture"; empty for an undisturbed start-up.
struct Variant {
  int width = 5, height = 3;
  ArgumentSet arguments = ArgumentSet::kUsual;
  FaultKind fault = FaultKind::kNone;
  int number = 0;
  std::string missing;

  /// Empty when the text is none of these.
  static std::optional<Variant> Parse(const std::string& text);
};

/// Stands for a method where start-up is looked at.
constexpr const char* kStartUp = "start-up";
/// The variant that comes first of each method.
constexpr const char* kUndisturbed = "5x3";

struct Trial {
  std::string method;
  const sim::PictureSetup* setup;
  double version;
  std::string variant;

  /// "HMirrorVel/cairo/2011.5/call 3"
  std::string Name() const;
  /// Throws Refused when there can be no such case.
  static Trial Parse(const std::string& name);
};

}  // namespace check

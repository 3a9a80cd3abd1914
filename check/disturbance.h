#pragma once

// What goes wrong on purpose: calls that fail, and things that a host lacks.

#include <optional>
#include <string>
#include <string_view>

#include "simulator/faults.h"

namespace check {

enum class FaultKind { kNone, kCall, kFromCall, kException };

struct Disturbance {
  FaultKind fault = FaultKind::kNone;
  int number = 0;  ///< of the call, from 1
  /// What the host lacks from the start. Beside a fault: what is looked up only because of it.
  std::string missing = {};

  bool IsNone() const { return fault == FaultKind::kNone && missing.empty(); }
  /// "call 3", "from call 3", "exception 3", "without newPicture", "call 3, without newPicture";
  /// empty for none.
  std::string Name() const;
  static std::optional<Disturbance> Parse(std::string_view text);
  /// Asks for the failure, from now on.
  void Arm(sim::Faults& faults) const;
  /// Whether no real host is so: what is found then is pedantic at most.
  bool IsOfNoRealHost() const;
};

}  // namespace check

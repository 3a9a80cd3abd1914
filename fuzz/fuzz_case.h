#pragma once

// One fuzz input's host and plugin, what it calls, and the complaint that ends the process when the
// two disagree with what they ought to do.

#include <string>

#include "fuzz/input.h"
#include "simulator/host.h"
#include "simulator/plugin.h"

struct FuzzCase {
  sim::Host& host;
  const sim::Plugin& plugin;
  Input& input;
  /// Something is missing or fails: results may then be null, but still nothing may be lost.
  bool disturbed;

  /// Stops the process with what is wrong, unless `holds`.
  void Require(bool holds, const std::string& what) const;
  /// Nothing held, locked, borrowed, allocated or overwritten beyond what the caller holds.
  void RequireBalance() const;

  /// Arms the next fault, if the input asks for one, and runs call(); false when it was cut short
  /// by an exception of the host.
  template <class Call>
  bool Run(Call call) {
    ArmFaults();
    bool finished = true;
    try {
      call();
    } catch (const sim::HostException&) {
      finished = false;
    }
    host.faults.Clear();
    return finished;
  }

 private:
  void ArmFaults();
};

/// One picture and up to three methods called on it.
void FuzzPictures(FuzzCase& fuzzCase);
/// One call of the text and data functions.
void FuzzText(FuzzCase& fuzzCase);

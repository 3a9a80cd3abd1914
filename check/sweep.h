#pragma once

// The sweep: something is done in a host, first undisturbed, which teaches what there is to
// disturb, and then once for each call that can fail, each call that can throw, and each thing that
// the host can lack. D. R. Hipp's SQLite is tested so.
//
// Each case has a fresh plugin in a fresh host. `velhost --check` gives each a process, too.

#include <set>
#include <string>
#include <vector>

#include "check/disturbance.h"
#include "check/finding.h"
#include "simulator/host.h"

namespace check {

/// What an undisturbed case shows.
struct Usual {
  std::string outcome;
  std::string before, after;    ///< what it worked on, before and after the first time
  std::string calls;            ///< those into the host, by name and in order: the way it took
  int fallible = 0;             ///< calls and allocations that can fail
  int all = 0;                  ///< calls that can throw
  std::set<std::string> names;  ///< looked up, to be missing
  int memory = 0;               ///< allocations that are kept between calls
  int references = 0;           ///< to objects of the host that are kept so
};

/// What a case shows.
struct CaseReport {
  std::vector<Finding> findings;
  std::string skipped;  ///< why nothing was tried
  Usual shown;          ///< all of it by an undisturbed case; by others the names
};

/// Something that a plugin is made to do in a host of its own, over and over.
class Scenario {
 public:
  Scenario() = default;
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;
  virtual ~Scenario() = default;

  virtual sim::Host& host() = 0;
  /// What is done, as messages name it.
  virtual std::string Title() const = 0;
  /// Does it once. Returns the outcome as text, the same whenever all is well. An exception of the
  /// host passes through.
  virtual std::string Run() = 0;
  /// Makes ready for another time; false when there is none.
  virtual bool Renew() { return false; }
  /// What it works on, as text that changes with it.
  virtual std::string Subject() { return ""; }
  /// What is wrong with an outcome other than the usual one, after these failed or were missing;
  /// nothing where a failure may end so.
  virtual std::vector<Finding> Judge(const std::string& /*outcome*/, const Usual& /*usual*/,
                                     const std::set<std::string>& /*failed*/) {
    return {};
  }
  /// What is wrong with an outcome other than the usual one, where nothing failed.
  virtual std::vector<Finding> Compare(const std::string& /*outcome*/, const Usual& /*usual*/) {
    return {};
  }
  /// What else is wrong after each time: of the pictures, of the process.
  virtual std::vector<Finding> LookRound() { return {}; }
};

/// The case of that disturbance. `usual` is what the undisturbed one showed; null for that itself.
CaseReport TryCase(Scenario& scenario, const Disturbance& disturbance, const Usual* usual);

/// All that there is to disturb.
std::vector<Disturbance> Disturbances(const Usual& usual, bool exceptions);

/// The names that a case looked up and that the undisturbed one did not: each missing beside what
/// led there.
std::vector<Disturbance> Deeper(const Disturbance& disturbance, const CaseReport& report,
                                const Usual& usual);

}  // namespace check

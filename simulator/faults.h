#pragma once

// Faults: failures asked for in advance.
// A call with a result can fail: it returns null, false or 0 and does nothing else. So does an
// allocation of the plugin (null) and advice about its pages (−1 with EPERM).
// Any call can throw, in place of its work. Exception: one that gives something back (an unlock)
// does its work first, since what it gives back would be lost.

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace sim {

/// What a call told to throw throws: an exception of the host's own.
struct HostException {
  int call;
};

class Faults {
 public:
  /// The numbers count from 1, from this moment on. Each of these replaces what was asked before.
  void FailNth(int number) { *this = Faults{number, number, 0}; }
  void FailFrom(int number) { *this = Faults{number, kForever, 0}; }
  void ThrowNth(int number) { *this = Faults{0, 0, number}; }
  void Clear() { *this = Faults{}; }

  Faults() = default;

  /// Calls that could have failed, plus allocations, since the last of the above.
  int fallible() const { return fallible_; }
  /// All calls since then.
  int calls() const { return calls_; }
  bool fired() const { return struck_.has_value(); }

  /// What failed or threw.
  struct Struck {
    std::string name;  ///< of the entry or the allocating function
    int number;        ///< as FailNth or ThrowNth counts
    const void* site;  ///< where in the plugin it was called
  };
  /// The first of them; empty while nothing failed.
  const std::optional<Struck>& struck() const { return struck_; }

  /// Asked once for each fallible call (by name) and each allocation, made at that place in the
  /// plugin; true when it shall fail.
  bool Fails(std::string_view name, const void* site);
  /// Asked once for each call; true when it shall throw.
  bool Throws(std::string_view name, const void* site);

  /// Entries whose every call fails.
  std::set<std::string, std::less<>> failing;

 private:
  static constexpr int kForever = 0x7FFFFFFF;
  Faults(int first, int last, int thrown) : first_(first), last_(last), thrown_(thrown) {}
  void Note(std::string_view name, int number, const void* site);

  int first_ = 0;
  int last_ = 0;
  int thrown_ = 0;
  int fallible_ = 0;
  int calls_ = 0;
  std::optional<Struck> struck_;
};

}  // namespace sim

#pragma once

// The log: every look-up, every call of the plugin into the host and every library it opens, in
// order.

#include <xmmintrin.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct LogLine {
  enum Kind { kLookup, kCall, kLibrary };

  Kind kind;
  /// The entry, or for a method reached by declaration its bare name ("DrawPicture", "Constructor",
  /// "LenB"); for kLibrary "dlopen" or "dlsym".
  std::string name;
  /// Arguments as text, objects by name ("picture#3"); for kLibrary the name asked for.
  std::string arguments;
  /// A look-up or library that was not found, a call that was made to fail.
  bool failed;
  /// How floating-point numbers were computed with at that moment.
  unsigned mxcsr = _mm_getcsr();
};

class Log {
 public:
  /// "call  REALLockObject(picture#3)", "look  X: missing"
  static std::string TextOf(const LogLine& line);
  void Add(LogLine line) {
    if (!enabled) return;
    if (echo != nullptr) std::fputs((TextOf(line) + '\n').c_str(), echo);
    lines.push_back(std::move(line));
  }
  void Clear() { lines.clear(); }

  /// Number of calls of an entry, of look-ups of a name, of libraries or library entries asked for.
  int Calls(std::string_view name) const;
  int Lookups(std::string_view name) const;
  int Libraries(std::string_view name) const;
  int CallCount() const;
  /// The names of all calls, in order, parted by one space: "REALLockObject REALUnlockObject".
  std::string Sequence() const;
  /// The text of each line.
  std::string Text() const;

  bool enabled = true;
  /// Where each line is written as it happens, so that a crash does not take them along.
  std::FILE* echo = nullptr;
  std::vector<LogLine> lines;
};

}  // namespace sim

#pragma once

// The log: every look-up, every call of the plugin into the host with what it returned, every
// library it opens and, when asked for, the plugin's own allocations, in order.

#include <xmmintrin.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

struct LogLine {
  enum Kind { kLookup, kCall, kLibrary, kMemory, kMark };

  Kind kind;
  /// The entry, or for a method reached by declaration its bare name ("DrawPicture", "Constructor",
  /// "LenB"); for kLibrary "dlopen" or "dlsym"; for kMemory "malloc", "free"; the text of a mark.
  std::string name;
  /// Arguments as text, objects by name ("picture#3"); for kLibrary the name asked for.
  std::string arguments;
  /// A look-up or library that was not found, a call that was made to fail.
  bool failed = false;
  /// What a call or an allocation returned, objects by name; empty before, and where it returns
  /// nothing.
  std::string result = {};
  /// How floating-point numbers were computed with at that moment.
  unsigned mxcsr = _mm_getcsr();
};

class Log {
 public:
  /// "call  newPicture(5, 3, 32) = picture#4", "look  X: missing"
  static std::string TextOf(const LogLine& line);
  void Add(LogLine line);
  /// What the line of that index, which was the last when it was added, now returned.
  void Return(size_t index, std::string result);
  /// A line that parts what comes from what was.
  void Mark(std::string text) { Add({LogLine::kMark, std::move(text), ""}); }
  void Clear() { lines.clear(); }
  /// Before something else is printed where the lines are echoed.
  void EndEchoedLine() const;

  /// Whether lines of kMemory are wanted.
  bool TakesMemory() const { return enabled && (memory || echo != nullptr); }

  /// Number of calls of an entry, of look-ups of a name, of libraries or library entries asked for.
  int Calls(std::string_view name) const { return Count(LogLine::kCall, &LogLine::name, name); }
  int Lookups(std::string_view name) const { return Count(LogLine::kLookup, &LogLine::name, name); }
  int Libraries(std::string_view name) const {
    return Count(LogLine::kLibrary, &LogLine::arguments, name);
  }
  int CallCount() const;
  /// The names of all calls, in order, parted by one space: "REALLockObject REALUnlockObject".
  std::string Sequence() const;
  /// The text of each line.
  std::string Text() const;

  bool enabled = true;
  /// Keep the plugin's allocations, too; with an echo they always are.
  bool memory = false;
  /// Where each line is written as it happens, so that a crash does not take them along.
  std::FILE* echo = nullptr;
  std::vector<LogLine> lines;

 private:
  int Count(LogLine::Kind kind, std::string LogLine::*part, std::string_view text) const;

  /// The last line that was echoed has no end yet, since what it returns may follow.
  mutable bool echoIsOpen_ = false;
};

}  // namespace sim

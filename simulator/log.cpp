#include "simulator/log.h"

#include <algorithm>

namespace sim {
namespace {

template <class Test>
int CountLines(const std::vector<LogLine>& lines, Test test) {
  return static_cast<int>(std::count_if(lines.begin(), lines.end(), test));
}

}  // namespace

int Log::Calls(std::string_view name) const {
  return CountLines(lines, [name](const LogLine& line) {
    return line.kind == LogLine::kCall && line.name == name;
  });
}

int Log::Lookups(std::string_view name) const {
  return CountLines(lines, [name](const LogLine& line) {
    return line.kind == LogLine::kLookup && line.name == name;
  });
}

int Log::Libraries(std::string_view name) const {
  return CountLines(lines, [name](const LogLine& line) {
    return line.kind == LogLine::kLibrary && line.arguments == name;
  });
}

int Log::CallCount() const {
  return CountLines(lines, [](const LogLine& line) { return line.kind == LogLine::kCall; });
}

std::string Log::Sequence() const {
  std::string names;
  for (const LogLine& line : lines) {
    if (line.kind != LogLine::kCall) continue;
    if (!names.empty()) names += ' ';
    names += line.name;
  }
  return names;
}

std::string Log::TextOf(const LogLine& line) {
  switch (line.kind) {
    case LogLine::kLookup:
      return "look  " + line.name + (line.failed ? ": missing" : "");
    case LogLine::kCall:
      return "call  " + line.name + "(" + line.arguments + ")" + (line.failed ? ": failed" : "");
    case LogLine::kLibrary:
      return "open  " + line.name + " " + line.arguments + (line.failed ? ": missing" : "");
  }
  return "";
}

std::string Log::Text() const {
  std::string text;
  for (const LogLine& line : lines) text += TextOf(line) + '\n';
  return text;
}

}  // namespace sim

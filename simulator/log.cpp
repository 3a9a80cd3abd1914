#include "simulator/log.h"

#include <algorithm>

namespace sim {
int Log::Count(LogLine::Kind kind, std::string LogLine::*part, std::string_view text) const {
  return static_cast<int>(std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) {
    return line.kind == kind && line.*part == text;
  }));
}

int Log::CallCount() const {
  return static_cast<int>(std::ranges::count(lines, LogLine::kCall, &LogLine::kind));
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
  const std::string call = line.name + "(" + line.arguments + ")";
  const std::string ending = line.failed           ? ": failed"
                             : line.result.empty() ? ""
                                                   : " = " + line.result;
  switch (line.kind) {
    case LogLine::kLookup:
      return "look  " + line.name + (line.failed ? ": missing" : "");
    case LogLine::kCall:
      return "call  " + call + ending;
    case LogLine::kLibrary:
      return "open  " + line.name + " " + line.arguments + (line.failed ? ": missing" : "");
    case LogLine::kMemory:
      return "own   " + call + ending;
    case LogLine::kMark:
      return "----  " + line.name;
  }
  return "";
}

void Log::Add(LogLine line) {
  if (!enabled) return;
  if (echo != nullptr) {
    EndEchoedLine();
    std::fputs(TextOf(line).c_str(), echo);
    std::fflush(echo);
    echoIsOpen_ = true;
    if (line.kind != LogLine::kCall || line.failed) EndEchoedLine();
  }
  lines.push_back(std::move(line));
}

void Log::Return(size_t index, std::string result) {
  if (!enabled || index >= lines.size()) return;
  if (echo != nullptr && !lines[index].failed) {
    const bool isLast = echoIsOpen_ && index + 1 == lines.size();
    if (!isLast) EndEchoedLine();
    std::fprintf(echo, "%s = %s\n", isLast ? "" : ("      " + lines[index].name).c_str(),
                 result.c_str());
    echoIsOpen_ = false;
  }
  lines[index].result = std::move(result);
}

void Log::EndEchoedLine() const {
  if (echoIsOpen_) std::fputs("\n", echo);
  echoIsOpen_ = false;
}

std::string Log::Text() const {
  std::string text;
  for (const LogLine& line : lines) text += TextOf(line) + '\n';
  return text;
}

}  // namespace sim

#include "cli/print.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace velhost {

void Print(std::string_view line) { std::puts(Printable(line).c_str()); }

void PrintError(const std::string& text) {
  std::fflush(stdout);
  std::fprintf(stderr, "%svelhost: %s\n", HasTerminal() ? kClearLine : "", Printable(text).c_str());
}

bool HasTerminal() {
  const char* const kind = std::getenv("TERM");
  return kind != nullptr && std::string_view(kind) != "dumb" && isatty(STDERR_FILENO) != 0;
}

std::string Printable(std::string_view text) {
  std::string printable;
  for (size_t i = 0; i < text.size(); ++i) {
    const int byte = static_cast<unsigned char>(text[i]);
    // The second half of the control characters has two bytes in UTF-8.
    const bool second = i > 0 && text[i - 1] == '\xC2' && byte >= 0x80 && byte < 0xA0;
    char quoted[8];
    std::snprintf(quoted, sizeof quoted, byte < ' ' || byte == 0x7F || second ? "\\x%02x" : "%c",
                  byte);
    printable += quoted;
  }
  return printable;
}

std::string Joined(const std::vector<std::string>& words, const char* between) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : between) + word;
  return joined;
}

}  // namespace velhost

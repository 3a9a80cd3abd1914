#include "cli/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "cli/print.h"

namespace velhost {
namespace {

size_t TerminalWidth() {
  winsize size{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// As much of the text as has room, in letters.
std::string Cut(const std::string& text, size_t room) {
  size_t letters = 0, end = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool starts = (text[i] & 0xC0) != 0x80;
    if (starts && ++letters == room) end = i;
  }
  return letters <= room ? text : text.substr(0, end) + "…";
}

}  // namespace

Progress::Progress(size_t count, bool quiet)
    : count_(count), shown_(count > 1 && !quiet && HasTerminal()) {}

void Progress::Show(const std::string& name) const {
  constexpr size_t kBar = 24, kWide = 70;
  if (!shown_) return;
  const size_t width = TerminalWidth();
  std::string line;
  if (width >= kWide) {
    const size_t full = done_ * kBar / count_;
    line = '[' + std::string(full, '=') + std::string(kBar - full, ' ') + "] ";
  }
  line += std::to_string(done_ + 1) + " of " + std::to_string(count_);
  if (done_ > 0) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
    const double left =
        time.count() / static_cast<double>(done_) * static_cast<double>(count_ - done_);
    line += ", " + std::to_string(std::lround(left)) + " s left";
  }
  line = Cut(line + ": " + Printable(name), width - 1);
  // Letters may be wider than one column.
  std::fprintf(stderr, "%s\x1b[?7l%s\x1b[?7h", kClearLine, line.c_str());
}

void Progress::Clear() const {
  if (shown_) std::fputs(kClearLine, stderr);
}

}  // namespace velhost

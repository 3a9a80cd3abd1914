#pragma once

// How far the work is, for whoever sits before it.

#include <unistd.h>

#include <biosoup/progress_bar.hpp>
#include <chrono>
#include <cmath>
#include <iostream>
#include <string>

namespace velhost {

constexpr const char* kClearLine = "\r\x1b[K";

/// One line, drawn on a terminal only; elsewhere it would be noise.
class Progress {
 public:
  explicit Progress(size_t count)
      : bar_(static_cast<uint32_t>(count), 24), shown_(count > 1 && isatty(STDERR_FILENO) != 0) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(const std::string& name) const {
    if (!shown_) return;
    const uint32_t done = bar_.event_counter(), all = bar_.num_events();
    std::cerr << kClearLine << '[' << bar_ << "] " << done + 1 << " of " << all;
    if (done > 0) {
      const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
      std::cerr << ", " << std::lround(time.count() / done * (all - done)) << " s left";
    }
    // A long name is cut at the terminal's edge: wrapped, the line could not be cleared.
    std::cerr << ": \x1b[?7l" << name << "\x1b[?7h" << std::flush;
  }
  void Clear() const {
    if (shown_) std::cerr << kClearLine << std::flush;
  }
  void Step() { ++bar_; }

 private:
  biosoup::ProgressBar bar_;
  bool shown_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace velhost

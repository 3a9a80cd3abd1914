#pragma once

// How far the work is, for whoever sits before it.

#include <chrono>
#include <string>

namespace velhost {

/// One line, drawn on a terminal only; elsewhere it would be noise.
class Progress {
 public:
  explicit Progress(size_t count, bool quiet = false);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Fits the terminal: wrapped, the line could not be cleared. Cuts the name, and leaves out the
  /// bar where the terminal is narrow.
  void Show(const std::string& name) const;
  void Clear() const;
  void Step() { ++done_; }

 private:
  size_t count_, done_ = 0;
  bool shown_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace velhost

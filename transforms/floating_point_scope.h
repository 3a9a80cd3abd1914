#pragma once

#include <cfenv>

namespace velpicture {

/// Computes with round-to-nearest, full precision and denormals, whatever the caller had set, and
/// leaves the caller's floating-point control and status as they were. What runs under the scope
/// must be a function of its own that is not inlined into the one that holds it: compilers may move
/// arithmetic across these calls.
class FloatingPointScope {
 public:
  FloatingPointScope() {
    std::fegetenv(&saved_);
    std::fesetenv(FE_DFL_ENV);
  }
  FloatingPointScope(const FloatingPointScope&) = delete;
  FloatingPointScope& operator=(const FloatingPointScope&) = delete;
  ~FloatingPointScope() { std::fesetenv(&saved_); }

 private:
  std::fenv_t saved_;
};

}  // namespace velpicture

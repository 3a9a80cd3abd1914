#pragma once

#include <cfenv>

namespace velpicture {

/// Round-to-nearest, full precision and denormals, whatever the caller had set; the caller's
/// floating-point control and status are put back at the end.
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

/// A function of its own, and none that its compiler knows to be pure: otherwise arithmetic could
/// be moved out of the scope.
template <class Compute>
[[gnu::noinline]] auto ComputeApart(Compute& compute) {
  asm volatile("" : : : "memory");
  return compute();
}

/// compute() under a FloatingPointScope. It must not call the host, which has settings of its own
/// to see and to change.
template <class Compute>
auto ComputeInScope(Compute compute) {
  const FloatingPointScope scope;
  return ComputeApart(compute);
}

}  // namespace velpicture

#pragma once

// HostEntry: one host function, looked up by name on first use. This is the one place that knows
// the look-up rule; every wrapper is a line around it.

#include <cstddef>

#include "host/resolver.h"

namespace velpicture {

/// A boolean as the host returns it: only this byte of the result register is defined.
using HostBool = unsigned char;

template <class Signature>
class HostEntry;

/// The host function `name`. A found address is kept for the life of the process; a missing one is
/// asked for again at every call. Arguments narrower than 32 bits are declared 32 bits wide in the
/// signature, so that they reach the host zero-extended.
template <class Result, class... Args>
class HostEntry<Result(Args...)> {
 public:
  using Function = Result (*)(Args...);

  constexpr explicit HostEntry(const char* name) : name_(name) {}
  HostEntry(const HostEntry&) = delete;
  HostEntry& operator=(const HostEntry&) = delete;

  /// The host function, or null while the host has none of that name.
  Function Address() {
    if (address_ == nullptr) address_ = reinterpret_cast<Function>(gResolver(name_));
    return address_;
  }

  /// Calls the host function; zero in the result's form when the host lacks it.
  Result operator()(Args... args) {
    const Function function = Address();
    if (function == nullptr) return Result();
    return function(args...);
  }

 private:
  const char* name_;
  Function address_ = nullptr;
};

/// A string literal as a template argument.
template <size_t kSize>
struct EntryName {
  consteval EntryName(const char (&literal)[kSize]) {  // NOLINT: converts from the literal
    for (size_t i = 0; i < kSize; ++i) text[i] = literal[i];
  }
  char text[kSize];
};

/// The entry of that name and signature, shared by everything that uses exactly this pair.
template <EntryName kName, class Signature>
inline constinit HostEntry<Signature> hostEntry{kName.text};

}  // namespace velpicture

#pragma once

// HostEntry: one host function, looked up by name on first use. This is the one place that knows
// the look-up rule; every wrapper is a line around it.

#include <cstddef>
#include <type_traits>

#include "host/entry_name.h"
#include "host/resolver.h"

namespace velpicture {

/// The type in which a result of a call of the host travels: of a boolean only the lowest byte of
/// the result register is defined, and anything but zero there is true.
template <class T>
using Returned = std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>;

/// The type in which an argument of a call of the host travels: none is narrower than 32 bits, so
/// that an unsigned one arrives zero-extended.
template <class T>
using Promoted = std::conditional_t<std::is_integral_v<T> && sizeof(T) < 4, unsigned long, T>;

template <class Signature>
class HostEntry;

/// The host function `name`. A found address is kept for the life of the process; a missing one is
/// asked for again at every call. The signature is the host's own, in types of this side; results
/// and arguments travel as said above.
template <class Result, class... Args>
class HostEntry<Result(Args...)> {
 public:
  using Function = Returned<Result> (*)(Promoted<Args>...);

  constexpr explicit HostEntry(const char* name) : name_(name) {}
  HostEntry(const HostEntry&) = delete;
  HostEntry& operator=(const HostEntry&) = delete;

  /// The host function, or null while the host has none of that name.
  Function Address() {
    if (address_ == nullptr) address_ = reinterpret_cast<Function>(gResolver(name_));
    return address_;
  }

  /// The same, or `builtIn`, which then stands in the entry's place for good.
  Function AddressOr(Function builtIn) {
    if (Address() == nullptr) address_ = builtIn;
    return address_;
  }

  /// Calls the host function; zero in the result's form when the host lacks it.
  Result operator()(Args... args) {
    const Function function = Address();
    if (function == nullptr) return Result();
    return static_cast<Result>(function(args...));
  }

 private:
  const char* name_;
  Function address_ = nullptr;
};

/// The entry of a wrapper, named where it is called. One that several files look at stands in
/// shared_entries.h instead: two uses of this share a cache only if they are spelled alike.
template <EntryName kName, class Signature>
inline constinit HostEntry<Signature> hostEntry{kName.text};

/// Calls that entry with these arguments, whose types are those of the host's function.
template <EntryName kName, class Result = void, class... Args>
Result CallHost(Args... args) {
  return hostEntry<kName, Result(Args...)>(args...);
}

}  // namespace velpicture

#pragma once

// How a C++ function becomes an entry of the host. Each family of entries is a table of rows
// Row<"name", Function>(), Function taking the host and its arguments in comfortable types. The
// wrapper written here once does the rest: it logs, refuses what this host lacks, checks handles,
// injects faults, insists that narrow arguments arrive zero-extended and returns booleans with
// garbage in the bits that do not count.

#include <concepts>
#include <cstdio>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>

#include "host/entry_name.h"
#include "simulator/host.h"

namespace sim {

struct EntryRow {
  std::string_view name;
  void* function;
};

/// A method of a class of the host's own (of none: empty), by its exact declaration.
struct MethodRow {
  std::string_view className;
  std::string_view declaration;
  void* function;
};

std::span<const EntryRow> RuntimeEntries();
std::span<const EntryRow> PropertyEntries();
std::span<const EntryRow> PictureEntries();
std::span<const EntryRow> StringEntries();
std::span<const EntryRow> ArrayEntries();
/// The rows of all of them.
std::span<const EntryRow> AllEntries();
/// The entry of that name, or null.
void* EntryAddress(std::string_view name);
/// The function of the recorder of that name, the same in every host.
void* RecorderAddress(std::string_view name);

std::span<const MethodRow> PictureMethods();
std::span<const MethodRow> StringMethods();

using velpicture::EntryName;

/// Sets what messages name, for the time of a call.
class CallScope {
 public:
  /// A function of the plugin.
  CallScope(Host& host, const char* method) : CallScope(host) { now_ = {method}; }
  /// An entry, and where in the plugin it was called (which the host's own calls of its entries
  /// leave as it is). With `anyThread`, also for what is no entry, such as a function of the C
  /// library.
  CallScope(Host& host, const char* entry, const void* site, bool anyThread = false)
      : CallScope(host) {
    now_.entry = entry;
    if (now_.site == nullptr) now_.site = site;
    if (!anyThread && pthread_equal(host.thread, pthread_self()) == 0) {
      now_.site = site;
      host.Misuse("called from another thread than the host's");
    }
  }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;
  ~CallScope() { now_ = outer_; }

 private:
  explicit CallScope(Host& host) : now_(host.now), outer_(host.now) {}

  Whereabouts& now_;
  const Whereabouts outer_;
};

/// An argument: Raw as it travels, Get as the entry wants it, Text as the log shows it.
template <class T>
struct Incoming {
  using Raw = T;
  static T Get(Host&, T raw) { return raw; }
  static std::string Text(const Host& host, T raw) {
    if constexpr (std::is_function_v<std::remove_pointer_t<T>>) {
      return "*";
    } else if constexpr (std::is_pointer_v<T>) {
      return host.Describe(raw);
    } else if constexpr (std::is_floating_point_v<T>) {
      char text[32];
      std::snprintf(text, sizeof text, "%.17g", static_cast<double>(raw));
      return text;
    } else {
      return std::to_string(raw);
    }
  }
};

template <>
struct Incoming<const char*> {
  using Raw = const char*;
  static const char* Get(Host&, const char* raw) { return raw; }
  static std::string Text(const Host&, const char* raw) {
    return raw == nullptr ? "null" : "\"" + std::string(raw) + "\"";
  }
};

template <std::derived_from<Handle> T>
struct Incoming<T*> {
  using Raw = void*;
  static T* Get(Host& host, void* raw) { return host.Live<T>(raw); }
  static std::string Text(const Host& host, void* raw) { return host.Describe(raw); }
};

/// Null is refused.
template <std::derived_from<Handle> T>
struct Incoming<T&> : Incoming<T*> {
  static T& Get(Host& host, void* raw) {
    if (raw == nullptr) host.Misuse("was given null");
    return *host.Live<T>(raw);
  }
};

template <std::unsigned_integral T>
requires(sizeof(T) < 4) struct Incoming<T> {
  using Raw = uint32_t;
  static T Get(Host& host, uint32_t raw) {
    if (raw >> (8 * sizeof(T)) != 0) host.Misuse("a narrow argument was not zero-extended");
    return static_cast<T>(raw);
  }
  static std::string Text(const Host&, uint32_t raw) { return std::to_string(raw); }
};

/// A result: narrow ones come back with garbage above them, since callers must not look there.
template <class R>
struct Outgoing {
  using Raw = R;
  static Raw Put(R value) { return value; }
  static std::string Text(const Host& host, R value) { return Incoming<R>::Text(host, value); }
};
template <std::derived_from<Handle> T>
struct Outgoing<T*> {
  using Raw = const void*;
  static Raw Put(T* value) { return value; }
  static std::string Text(const Host& host, T* value) { return host.Describe(value); }
};
template <std::unsigned_integral T>
requires(sizeof(T) < 4) struct Outgoing<T> {
  using Raw = uint32_t;
  static Raw Put(T value) { return (0xABCDEF98U & ~((1U << (8 * sizeof(T))) - 1)) | value; }
  static std::string Text(const Host&, T value) {
    if constexpr (std::is_same_v<T, bool>) return value ? "true" : "false";
    return std::to_string(value);
  }
};
template <>
struct Outgoing<void> {
  using Raw = void;
};
/// For an entry that has no result and takes something (a reference): told to throw, it throws
/// instead of its work, where one that gives something back does its work first.
struct Taken {};
template <>
struct Outgoing<Taken> {
  using Raw = void;
};

[[noreturn]] inline void Throw(Host& host, size_t line) {
  host.log.Return(line, "an exception");
  throw HostException{host.faults.calls()};
}

/// Of a value that is kept or handed out: a handle carries a reference.
template <class T>
void LockValue(Host& host, T value) {
  if constexpr (std::is_pointer_v<T>) {
    if (value != nullptr) host.Lock(value);
  }
}
template <class T>
void UnlockValue(Host& host, T value) {
  if constexpr (std::is_pointer_v<T>) {
    if (value != nullptr) host.Unlock(value);
  }
}
/// Entries that are nothing else.
template <class T>
Taken LockHandle(Host& host, T& handle) {
  host.Lock(&handle);
  return {};
}
template <class T>
void UnlockHandle(Host& host, T& handle) {
  host.Unlock(&handle);
}

template <EntryName kName, auto kFunction, auto kOnFailure, class R, class... Args>
typename Outgoing<R>::Raw CallEntry(typename Incoming<Args>::Raw... raw) {
  Host& host = Host::Current();
  const CallScope scope(host, kName.text, __builtin_return_address(0));
  if (host.Missing(kName.text)) host.Misuse("called on a host that lacks it");
  constexpr bool kFallible = !std::is_void_v<typename Outgoing<R>::Raw>;
  const bool fails = kFallible && host.faults.Fails(kName.text, host.now.site);
  if (host.log.enabled) {
    std::string text;
    ((text += text.empty() ? "" : ", ", text += Incoming<Args>::Text(host, raw)), ...);
    host.log.Add({LogLine::kCall, kName.text, std::move(text), fails});
  }
  const size_t line = host.log.lines.size() - 1;
  const std::tuple<Args...> arguments(Incoming<Args>::Get(host, raw)...);
  const bool throws = host.faults.Throws(kName.text, host.now.site);
  const auto run = [&](auto function) {
    return std::apply([&](Args... each) { return function(host, each...); }, arguments);
  };
  if (throws && !std::is_void_v<R>) Throw(host, line);
  if constexpr (!kFallible) {
    run(kFunction);
    if (throws) Throw(host, line);
  } else {
    if (!fails) {
      const R result = run(kFunction);
      if (host.log.enabled) host.log.Return(line, Outgoing<R>::Text(host, result));
      return Outgoing<R>::Put(result);
    }
    if constexpr (!std::is_null_pointer_v<decltype(kOnFailure)>) run(kOnFailure);
    return Outgoing<R>::Put(R());
  }
}

template <EntryName kName, auto kFunction, auto kOnFailure, class R, class... Args>
void* WrappedAddress(R (*)(Host&, Args...)) {
  return reinterpret_cast<void*>(&CallEntry<kName, kFunction, kOnFailure, R, Args...>);
}

/// The address to hand out for a function; kOnFailure runs when a fault strikes in its place.
template <EntryName kName, auto kFunction, auto kOnFailure = nullptr>
void* Wrapped() {
  return WrappedAddress<kName, kFunction, kOnFailure>(kFunction);
}

template <EntryName kName, auto kFunction, auto kOnFailure = nullptr>
EntryRow Row() {
  return {kName.text, Wrapped<kName, kFunction, kOnFailure>()};
}

}  // namespace sim

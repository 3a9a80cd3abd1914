#pragma once

// Scopes that give back what the text code holds: a reference on a host string, or bytes from
// malloc. A host call may throw through a StringReference, also while it is releasing, so its
// destructor is not noexcept.

#include <cstdlib>
#include <memory>

#include "host/host_calls.h"
#include "host/host_entry.h"

namespace velpicture {

/// Owns one reference on a host string, or null.
class StringReference {
 public:
  /// Takes over a reference that the caller holds.
  explicit StringReference(REALstringStruct* string) : string_(string) {}
  /// Adds a reference of its own; null where the host cannot, since what was never taken must not
  /// be given back.
  static StringReference Retained(REALstringStruct* string) {
    if (string == nullptr ||
        hostEntry<"REALLockString", void(REALstringStruct*)>.Address() == nullptr) {
      return StringReference(nullptr);
    }
    REALLockString(string);
    return StringReference(string);
  }
  StringReference(const StringReference&) = delete;
  StringReference& operator=(const StringReference&) = delete;
  ~StringReference() noexcept(false) { Reset(); }

  REALstringStruct* get() const { return string_; }
  explicit operator bool() const { return string_ != nullptr; }

  /// Gives the reference back now, or takes over another one in its place.
  void Reset(REALstringStruct* string = nullptr) {
    REALstringStruct* const old = string_;
    string_ = string;
    if (old != nullptr) REALUnlockString(old);
  }
  /// Passes the reference to the caller.
  REALstringStruct* Release() {
    REALstringStruct* const string = string_;
    string_ = nullptr;
    return string;
  }

 private:
  REALstringStruct* string_;
};

struct FreeBytes {
  void operator()(void* bytes) const { std::free(bytes); }
};
/// Bytes from malloc or calloc; null when the allocation failed.
using HeapBytes = std::unique_ptr<char, FreeBytes>;

}  // namespace velpicture

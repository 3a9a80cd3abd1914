#pragma once

// Scopes that give host objects back: one reference, held until the scope ends or taken over by
// somebody else. A host call may throw through a scope, also while it is releasing, so its
// destructor is not noexcept.

#include "host/host_calls.h"
#include "host/host_entry.h"

namespace velpicture {

inline REALobjectStruct* AsObject(REALpictureStruct* picture) {
  return reinterpret_cast<REALobjectStruct*>(picture);
}
inline REALobjectStruct* AsObject(REALgraphicsStruct* graphics) {
  return reinterpret_cast<REALobjectStruct*>(graphics);
}
inline REALobjectStruct* AsObject(REALmemoryBlockStruct* block) {
  return reinterpret_cast<REALobjectStruct*>(block);
}
inline REALobjectStruct* AsObject(REALobjectStruct* object) { return object; }

/// False on a host that lacks the entry. A reference that was never taken must not be given back.
inline bool HostLocksObjects() {
  return hostEntry<"REALLockObject", void(REALobjectStruct*)>.Address() != nullptr;
}

/// Owns one reference on a host object, or null.
template <class Handle>
class HostReference {
 public:
  /// Takes over a reference that the caller holds.
  explicit HostReference(Handle* handle) : handle_(handle) {}
  /// Adds a reference of its own; null where the host cannot.
  static HostReference Retained(Handle* handle) {
    if (handle == nullptr || !HostLocksObjects()) return HostReference(nullptr);
    REALLockObject(AsObject(handle));
    return HostReference(handle);
  }
  HostReference(const HostReference&) = delete;
  HostReference& operator=(const HostReference&) = delete;
  ~HostReference() noexcept(false) { Reset(); }

  Handle* get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

  /// Gives the reference back now instead of at the end of the scope.
  void Reset() {
    Handle* const handle = Release();
    if (handle != nullptr) REALUnlockObject(AsObject(handle));
  }
  /// Passes the reference to the caller.
  Handle* Release() {
    Handle* const handle = handle_;
    handle_ = nullptr;
    return handle;
  }

 private:
  Handle* handle_;
};

using PictureReference = HostReference<REALpictureStruct>;
using GraphicsReference = HostReference<REALgraphicsStruct>;

}  // namespace velpicture

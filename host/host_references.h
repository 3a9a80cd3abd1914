#pragma once

// References on host objects and strings. A host may lack the entry that adds one: its callers then
// go on without, and what was never taken is never given back. So a record that keeps a handle
// beyond a scope notes beside it whether a reference was to be had.

#include "host/host_calls.h"
#include "host/shared_entries.h"

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

/// The host's entry that adds a reference to handles of that type, which may be null.
inline auto LockEntry(REALstringStruct*) { return lockStringEntry.Address(); }
inline auto LockEntry(REALobjectStruct*) { return lockObjectEntry.Address(); }

/// Adds a reference to what is not null; false where the host lets nobody add any.
inline bool AddReference(REALstringStruct* string) {
  const auto lock = LockEntry(string);
  if (lock != nullptr) lock(string);
  return lock != nullptr;
}
template <class Handle>
bool AddReference(Handle* handle) {
  const auto lock = LockEntry(AsObject(handle));
  if (lock != nullptr) lock(AsObject(handle));
  return lock != nullptr;
}

inline void DropReference(REALstringStruct* string) { REALUnlockString(string); }
template <class Handle>
void DropReference(Handle* handle) {
  REALUnlockObject(AsObject(handle));
}

/// Owns one reference on a host object or string until the scope ends or somebody else takes it
/// over; or names a handle without a reference; or null. A host call may throw through it, also
/// while it is releasing, so its destructor is not noexcept.
template <class Handle>
class HostReference {
 public:
  /// Takes over a reference that the caller holds, if there is one.
  explicit HostReference(Handle* handle, bool isHeld = true) : handle_(handle), isHeld_(isHeld) {}
  /// Adds a reference of its own, if the host lets it.
  static HostReference Retained(Handle* handle) {
    return HostReference(handle, handle != nullptr && AddReference(handle));
  }
  HostReference(const HostReference&) = delete;
  HostReference& operator=(const HostReference&) = delete;
  ~HostReference() noexcept(false) { Reset(); }

  Handle* get() const { return handle_; }
  explicit operator bool() const { return handle_ != nullptr; }

  /// Gives the reference back now, or takes over another one in its place.
  void Reset(Handle* handle = nullptr) {
    Handle* const old = isHeld_ ? handle_ : nullptr;
    handle_ = handle;
    isHeld_ = true;
    if (old != nullptr) DropReference(old);
  }
  /// Passes the handle, and the reference if there is one, to the caller.
  Handle* Release() {
    Handle* const handle = handle_;
    handle_ = nullptr;
    return handle;
  }

 private:
  Handle* handle_;
  bool isHeld_;
};

using PictureReference = HostReference<REALpictureStruct>;
using GraphicsReference = HostReference<REALgraphicsStruct>;
using StringReference = HostReference<REALstringStruct>;

}  // namespace velpicture

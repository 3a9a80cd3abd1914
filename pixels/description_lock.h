#pragma once

#include "host/host_calls.h"
#include "pixels/picture_lock.h"

namespace velpicture {

/// A picture's description locked for one kind of storage, a REALpictureStorage, until the scope
/// ends; what is kept is unlocked by somebody else. False where the host has no such storage.
class DescriptionLock {
 public:
  DescriptionLock(REALpictureStruct* picture, REALpictureDescription& description, long storage)
      : locked_(REALLockPictureDescriptionX(picture, &description, storage) ? picture : nullptr) {}
  DescriptionLock(const DescriptionLock&) = delete;
  DescriptionLock& operator=(const DescriptionLock&) = delete;
  ~DescriptionLock() noexcept(false) {
    if (locked_ != nullptr) REALUnlockPictureDescription(locked_);
  }

  explicit operator bool() const { return locked_ != nullptr; }
  void Keep() { locked_ = nullptr; }

 private:
  REALpictureStruct* locked_;
};

}  // namespace velpicture

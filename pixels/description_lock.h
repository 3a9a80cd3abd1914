#pragma once

#include "host/host_calls.h"

namespace velpicture {

/// Gives one locked description back at the end of the scope, unless it was passed on with Keep.
class DescriptionLock {
 public:
  explicit DescriptionLock(REALpictureStruct* lockedPicture) : picture_(lockedPicture) {}
  DescriptionLock(const DescriptionLock&) = delete;
  DescriptionLock& operator=(const DescriptionLock&) = delete;
  ~DescriptionLock() noexcept(false) {
    if (picture_ != nullptr) REALUnlockPictureDescription(picture_);
  }
  void Keep() { picture_ = nullptr; }

 private:
  REALpictureStruct* picture_;
};

}  // namespace velpicture

#pragma once

// Locking a picture's description: the host then says where the picture's native storage is, and
// keeps it there until the lock is given back.

#include "host/host_calls.h"

/// Locks the description for one kind of storage (a REALpictureStorage) through the host's
/// three-argument entry. A host below version 2012.0 keeps its lock even when it reports failure,
/// so there a failed lock is given back at once, even where the entry is missing.
VEL_EXPORT bool REALLockPictureDescriptionX(REALpictureStruct* picture,
                                            REALpictureDescription* description, long type);

/// What must follow a failed lock: an unlock below version 2012.0, nothing from then on.
VEL_EXPORT void REALUnlockPictureDescriptionAfterFailure(REALpictureStruct* picture);

/// The host object's lock count; 0 for null.
VEL_EXPORT int GetPictureLockCount(REALpictureStruct* picture);

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

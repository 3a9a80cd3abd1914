#include "pixels/picture_lock.h"

#include "host/host_calls.h"
#include "host/versions.h"

bool REALLockPictureDescriptionX(REALpictureStruct* picture, REALpictureDescription* description,
                                 long type) {
  if (REALLockPictureDescription(picture, description, type)) return true;
  REALUnlockPictureDescriptionAfterFailure(picture);
  return false;
}

void REALUnlockPictureDescriptionAfterFailure(REALpictureStruct* picture) {
  if (!velpicture::FailedLocksHoldNothing()) REALUnlockPictureDescription(picture);
}

int GetPictureLockCount(REALpictureStruct* picture) {
  if (picture == nullptr) return 0;
  return reinterpret_cast<const REALobjectHeader*>(picture)->lockCount;
}

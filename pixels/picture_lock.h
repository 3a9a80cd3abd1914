#pragma once

// Locking a picture's description: the host then says where the picture's native storage is, and
// keeps it there until the lock is given back.

#include "host/export.h"
#include "host/host_types.h"

/// Locks the description for one kind of storage (a REALpictureStorage) through the host's
/// three-argument entry. A host below version 2012.0 keeps its lock even when it reports failure,
/// so there a failed lock is given back at once, even where the entry is missing.
VEL_EXPORT bool REALLockPictureDescriptionX(REALpictureStruct* picture,
                                            REALpictureDescription* description, long type);

/// What must follow a failed lock: an unlock below version 2012.0, nothing from then on.
VEL_EXPORT void REALUnlockPictureDescriptionAfterFailure(REALpictureStruct* picture);

/// The host object's lock count; 0 for null.
VEL_EXPORT int GetPictureLockCount(REALpictureStruct* picture);

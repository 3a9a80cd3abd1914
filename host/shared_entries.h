#pragma once

// The host entries that more than one file looks at, each declared once, so that all share what was
// found.

#include "host/host_entry.h"
#include "host/host_types.h"

namespace velpicture {

inline constinit HostEntry<void(REALobjectStruct*)> lockObjectEntry{"REALLockObject"};
inline constinit HostEntry<void(REALstringStruct*)> lockStringEntry{"REALLockString"};
inline constinit HostEntry<void(REALobjectStruct*)> raiseExceptionEntry{"RuntimeRaiseException"};

}  // namespace velpicture

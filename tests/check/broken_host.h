#pragma once

// How the broken plugin reaches its host.

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "host/host_types.h"

using Picture = REALpictureStruct;

inline void* (*resolve)(const char*);
inline double version = 0;
inline int calls = 0;     ///< of Break
inline void* clearCache;  ///< as start-up found it

inline bool Is(const char* fault) {
  const char* const wanted = std::getenv("FAULT");
  return wanted != nullptr && std::strcmp(wanted, fault) == 0;
}

template <class Result = bool, class... Args>
Result Host(const char* entry, Args... args) {
  auto* const function = reinterpret_cast<uint32_t (*)(Args...)>(resolve(entry));
  if (function == nullptr && !Is("missing")) return Result();
  if constexpr (std::is_pointer_v<Result>) {
    return reinterpret_cast<Result>(function(args...));
  } else {
    return static_cast<Result>(function(args...) & 0xFF);
  }
}

/// Locks the picture and calls use(its description). False when it cannot lock.
template <class Use>
bool WithDescription(Picture* picture, Use use) {
  REALpictureDescription description;
  if (!Host("lockPictureDescription", picture, &description)) {
    if (!Is("owed") && version < 2012) Host("unlockPictureDescription", picture);
    return false;
  }
  use(description);
  if (!Is("lock")) Host("unlockPictureDescription", picture);
  return true;
}
/// use(block), where it is a console picture.
template <class Use>
bool WithBlock(Picture* picture, Use use) {
  return WithDescription(picture, [use](const REALpictureDescription& description) {
    if (description.type == kStorageConsoleBlock) {
      use(*static_cast<ConsolePixelBlock*>(description.data));
    }
  });
}
/// use(rows), where it is a console picture.
template <class Use>
bool WithRows(Picture* picture, Use use) {
  return WithBlock(picture, [use](ConsolePixelBlock& block) {
    use(reinterpret_cast<uint32_t**>(block.rowTable));
  });
}
/// Calls an entry of Cairo, if it is there. The host keeps the library loaded.
template <class Result = void*, class... Args>
Result CallCairo(const char* name, Args... args) {
  void* const library = dlopen("libcairo.so.2", RTLD_LAZY);
  auto* const call = reinterpret_cast<Result (*)(Args...)>(dlsym(library, name));
  if (library != nullptr) dlclose(library);
  return call == nullptr ? Result() : call(args...);
}
/// Calls use(context), where it is a picture of Cairo's.
template <class Use>
bool WithContext(Picture* picture, Use use) {
  return WithDescription(picture, [use](const REALpictureDescription& description) {
    if (description.type == kStorageCairoContext) use(description.data);
  });
}

template <class... Args>
bool CallOnContext(Picture* picture, const char* name, Args... args) {
  return WithContext(picture, [=](void* context) { CallCairo(name, context, args...); });
}

inline void* AskVersion(void*) { return Host<void*>("REALGetRBVersion"); }

inline bool WriteCleared(Picture* picture, uint32_t word) {
  const bool done = WithRows(picture, [word](uint32_t** rows) { rows[0][0] ^= word; });
  if (done) Host("REALPictureClearCache", picture);
  return done;
}

inline Picture* NewPicture() { return Host<Picture*>("newPicture", 2, 2, 32); }
inline bool Release(Picture* picture) {
  if (picture != nullptr) Host("REALUnlockObject", picture);
  return picture != nullptr;
}

inline bool CrashHere() {
  volatile int* volatile nowhere = nullptr;
  *nowhere = 1;
  return true;
}

/// The method Break, which does what FAULT names.
bool Break(Picture* picture);

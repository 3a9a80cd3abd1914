#pragma once

// A view of raw bytes that the host holds: a stretch of a MemoryBlock, or all bytes of a string
// whatever its encoding. The view keeps the bytes alive, by a reference on the host's object or by
// a record that the host filled, and lives in one scope.

#include "host/export.h"
#include "host/host_types.h"

class VEL_EXPORT rbData {
 public:
  /// `length` bytes of `block` from `offset` on; length 0 stands for all that follows `offset`.
  /// Otherwise keeping inside the block is the caller's duty. Empty for null.
  rbData(REALmemoryBlockStruct* block, unsigned int offset, unsigned int length);
  /// All bytes of the string; empty for null and where the host does not lend them.
  explicit rbData(REALstringStruct* string);
  rbData(const rbData&) = delete;
  rbData& operator=(const rbData&) = delete;
  /// Releases what the view holds and leaves it empty: destroying it again has no effect.
  ~rbData() noexcept(false);

  // The fields are read by callers, so their order is part of the interface. A view of null has all
  // of them zero. One of a block or string that has no bytes to show may hold it all the same.

  REALstringStruct* string = nullptr;      ///< one reference; below version 2012.0 only
  REALmemoryBlockStruct* block = nullptr;  ///< one reference
  REALstringData stringData = {};          ///< from version 2012.0 on
  bool ownsStringData = false;             ///< `stringData` is filled
  bool unreferenced = false;               ///< the host let nobody add that one reference
  const char* data = nullptr;
  uint32_t length = 0;

 private:
  // The constructors start from a complete, empty view, so that one that a host call cuts short by
  // an exception still gives everything back.
  __attribute__((visibility("hidden"))) rbData() = default;
};

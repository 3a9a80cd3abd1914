#pragma once

// The bytes of a host string below version 2012.0, read from the host's own layout. The text starts
// one byte past an address, so units wider than a byte lie at odd addresses: read them with
// LoadUnaligned.

#include <cstdint>
#include <cstring>

#include "host/host_types.h"
#include "host/resolver.h"

namespace velpicture {

/// Whether string bytes are borrowed through REALGetStringData; else their layout is read directly.
/// A version that the host did not report, or a NaN, counts as below.
inline bool BorrowsStringData() { return rbversion_rbversion >= 2012.0; }

struct TextBytes {
  const char* data = nullptr;
  uint32_t length = 0;
};

/// The bytes of `string`, which must not be null: valid while it is held, perhaps not terminated.
inline TextBytes LegacyBytes(const REALstringStruct* string) {
  const auto* layout = reinterpret_cast<const REALstringLegacyLayout*>(string);
  if (layout->storage == nullptr) return {};
  return {layout->storage + 1, layout->lengthBytes};
}

template <class Unit>
Unit LoadUnaligned(const void* address) {
  Unit unit;
  std::memcpy(&unit, address, sizeof unit);
  return unit;
}

}  // namespace velpicture

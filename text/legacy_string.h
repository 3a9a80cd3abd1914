#pragma once

// The bytes of a host string, as the host lent them or, below version 2012.0, from its own layout.
// There the text starts one byte past an address, so units wider than a byte lie at odd addresses:
// read them with LoadUnaligned.

#include <cstdint>
#include <cstring>

#include "host/host_types.h"

namespace velpicture {

struct TextBytes {
  const char* data = nullptr;
  uint32_t length = 0;
};

/// The bytes that the host speaks of, perhaps not terminated. Its lengths are signed: text of a
/// negative one is none.
inline TextBytes HostBytes(const char* data, uint32_t length) {
  if (data == nullptr || static_cast<int32_t>(length) < 0) return {};
  return {data, length};
}
/// The bytes in a filled record: valid until it is disposed of.
inline TextBytes LentBytes(const REALstringData& record) {
  return HostBytes(record.data, record.length);
}
/// The bytes of `string`, which must not be null: valid while it is held.
inline TextBytes LegacyBytes(const REALstringStruct* string) {
  const auto* layout = reinterpret_cast<const REALstringLegacyLayout*>(string);
  if (layout->storage == nullptr) return {};
  return HostBytes(layout->storage + 1, layout->lengthBytes);
}

template <class Unit>
Unit LoadUnaligned(const void* address) {
  Unit unit;
  std::memcpy(&unit, address, sizeof unit);
  return unit;
}

}  // namespace velpicture

#pragma once

// The bytes of host strings, as the host lent them or, below version 2012.0, from its own layout.
// There the text starts one byte past an address, so units wider than a byte lie at odd addresses:
// read them with LoadUnaligned.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host/host_types.h"
#include "host/versions.h"
#include "text/string_data.h"

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

/// A record that REALGetStringData may have filled, disposed of at the end of the scope if it did.
class FilledRecord {
 public:
  FilledRecord(REALstringData& record, bool isFilled) : filled_(isFilled ? &record : nullptr) {}
  FilledRecord(const FilledRecord&) = delete;
  FilledRecord& operator=(const FilledRecord&) = delete;
  ~FilledRecord() noexcept(false) {
    if (filled_ != nullptr) REALDisposeStringData(filled_);
  }

 private:
  REALstringData* const filled_;
};

/// The raw bytes of a string, or none for null; read through the host where it lends them, else
/// from the legacy layout. Valid for one scope, in which the string must be held.
class RawBytes {
 public:
  explicit RawBytes(REALstringStruct* string)
      : isLent_(string != nullptr && BorrowsStringData() &&
                REALGetStringData(string, kEncodingUndefined, &record_)) {
    if (string != nullptr) bytes_ = isLent_ ? LentBytes(record_) : LegacyBytes(string);
  }
  RawBytes(const RawBytes&) = delete;
  RawBytes& operator=(const RawBytes&) = delete;

  unsigned char operator[](uint32_t index) const {
    return static_cast<unsigned char>(bytes_.data[index]);
  }
  uint32_t length() const { return bytes_.length; }

 private:
  REALstringData record_ = {};
  const bool isLent_;
  const FilledRecord filled_{record_, isLent_};
  TextBytes bytes_;
};

struct FreeBytes {
  void operator()(void* bytes) const { std::free(bytes); }
};
/// Bytes from malloc or calloc, freed at the end of the scope; null when the allocation failed.
using HeapBytes = std::unique_ptr<char, FreeBytes>;

}  // namespace velpicture

#pragma once

// A string's bytes as they are, for a moment's look.

#include <cstdint>

#include "host/host_types.h"
#include "host/versions.h"
#include "text/filled_record.h"
#include "text/legacy_string.h"

namespace velpicture {

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

}  // namespace velpicture

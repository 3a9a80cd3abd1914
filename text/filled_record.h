#pragma once

#include "text/string_data.h"

namespace velpicture {

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

}  // namespace velpicture

#pragma once

#include <cstddef>

namespace velpicture {

/// A string literal as a template argument: the name of a host entry.
template <size_t kSize>
struct EntryName {
  consteval EntryName(const char (&literal)[kSize]) {  // NOLINT: converts from the literal
    for (size_t i = 0; i < kSize; ++i) text[i] = literal[i];
  }
  char text[kSize];
};

}  // namespace velpicture

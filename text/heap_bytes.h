#pragma once

#include <cstdlib>
#include <memory>

namespace velpicture {

struct FreeBytes {
  void operator()(void* bytes) const { std::free(bytes); }
};
/// Bytes from malloc or calloc, freed at the end of the scope; null when the allocation failed.
using HeapBytes = std::unique_ptr<char, FreeBytes>;

}  // namespace velpicture

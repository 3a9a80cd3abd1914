#pragma once

// Which pictures are written past the cache.

#include <cstdint>

#include "pixels/picture_editor.h"

namespace velpicture {

/// Whether a picture is so large that what is written to it had better not push everything else out
/// of the cache. Smaller ones are often still there for whoever looks at them next, and streams
/// would wait for memory.
inline bool IsStreamed(const PictureEditor& target) {
  constexpr int64_t kStreamedBytes = int64_t{12} << 20;
  return int64_t{target.width} * target.height * target.bytesPerPixel >= kStreamedBytes;
}

}  // namespace velpicture

#pragma once

// Which pictures are written past the cache.

#include <cstdint>

#include "pixels/picture_editor.h"

namespace velpicture {

/// Pictures of so many bytes had better not push everything else out of the cache when they are
/// written. Smaller ones are often still there for whoever looks at them next, and streams would
/// wait for memory.
constexpr int64_t kStreamedBytes = int64_t{12} << 20;

/// The same for quarter turns. They write to more rows at a time than the processor foresees: a
/// target that is in nobody's cache after all takes them up to four times as long, a stream at most
/// half as long again.
constexpr int64_t kStreamedTurnBytes = int64_t{5} << 20;

/// Whether to write a picture past the cache.
inline bool IsStreamed(const PictureEditor& target, int64_t leastBytes) {
  return int64_t{target.width} * target.height * target.bytesPerPixel >= leastBytes;
}

}  // namespace velpicture

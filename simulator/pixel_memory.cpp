#include "simulator/pixel_memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace sim {

bool IsGuard(const uint8_t* bytes, size_t size) {
  return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == kGuardByte; });
}

PixelPool::~PixelPool() {
  for (const auto& [size, blocks] : kept_) {
    for (uint8_t* block : blocks) std::free(block - kFenceBytes);
  }
}

uint8_t* PixelPool::Allocate(size_t size) {
  uint8_t* bytes = nullptr;
  auto& kept = kept_[size];
  if (!kept.empty()) {
    bytes = kept.back();
    kept.pop_back();
  } else {
    if (size > SIZE_MAX - 2 * kFenceBytes) return nullptr;
    auto* const block = static_cast<uint8_t*>(std::calloc(1, size + 2 * kFenceBytes));
    if (block == nullptr) return nullptr;
    bytes = block + kFenceBytes;
    std::memset(block, kGuardByte, kFenceBytes);
    std::memset(bytes + size, kGuardByte, kFenceBytes);
  }
  liveBytes += size;
  peakBytes = std::max(peakBytes, liveBytes);
  return bytes;
}

void PixelPool::Release(uint8_t* bytes, size_t size) {
  liveBytes -= size;
  if (warm) {
    kept_[size].push_back(bytes);
  } else {
    std::free(bytes - kFenceBytes);
  }
}

bool PixelPool::FencesIntact(const uint8_t* bytes, size_t size) {
  return IsGuard(bytes - kFenceBytes, kFenceBytes) && IsGuard(bytes + size, kFenceBytes);
}

}  // namespace sim

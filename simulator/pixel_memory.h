#pragma once

// Memory of host pictures: counted, so that the ledger knows live and peak bytes, fenced by guard
// bytes on both sides, and, when warm, kept for the next picture of the same size.

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace sim {

constexpr uint8_t kGuardByte = 0xE7;
constexpr size_t kFenceBytes = 64;
constexpr size_t kPageBytes = 4096;

/// True when all `size` bytes are guard bytes.
bool IsGuard(const uint8_t* bytes, size_t size);

class PixelPool {
 public:
  PixelPool() = default;
  PixelPool(const PixelPool&) = delete;
  PixelPool& operator=(const PixelPool&) = delete;
  ~PixelPool();

  /// kFenceBytes of guard, `size` bytes of zeros (anything when recycled), a fence again. Returns
  /// the first byte after the fence, aligned to 16 bytes, or null when memory is short.
  uint8_t* Allocate(size_t size);
  void Release(uint8_t* bytes, size_t size);
  static bool FencesIntact(const uint8_t* bytes, size_t size);

  bool warm = false;
  size_t liveBytes = 0;
  size_t peakBytes = 0;

 private:
  std::map<size_t, std::vector<uint8_t*>> kept_;
};

/// A block from the pool, given back when it goes out of scope.
class PixelMemory {
 public:
  PixelMemory(PixelPool& pool, size_t size)
      : pool_(pool), size_(size), bytes_(pool.Allocate(size)) {}
  PixelMemory(const PixelMemory&) = delete;
  PixelMemory& operator=(const PixelMemory&) = delete;
  ~PixelMemory() {
    if (bytes_ != nullptr) pool_.Release(bytes_, size_);
  }

  /// Null when memory was short.
  uint8_t* bytes() const { return bytes_; }
  size_t size() const { return size_; }
  bool FencesIntact() const { return PixelPool::FencesIntact(bytes_, size_); }

 private:
  PixelPool& pool_;
  size_t size_;
  uint8_t* bytes_;
};

}  // namespace sim

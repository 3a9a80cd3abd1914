#pragma once

// Memory of host pictures: counted, so that the ledger knows live and peak bytes, fenced on both
// sides, and, when warm, kept for the next picture of the same size.

#include <map>
#include <memory>
#include <vector>

#include "simulator/fenced_bytes.h"

namespace sim {

class PixelPool {
 public:
  PixelPool() = default;
  PixelPool(const PixelPool&) = delete;
  PixelPool& operator=(const PixelPool&) = delete;

  /// Zeros (anything when recycled), or null when memory is short.
  std::unique_ptr<FencedBytes> Allocate(size_t size);
  void Release(std::unique_ptr<FencedBytes> bytes);

  /// Where memory bites, one picture after the other ends at a page without access or begins behind
  /// one, so that of two that are made in pairs both are met.
  Edge NextEdge();

  bool warm = false;
  bool bites = false;
  size_t liveBytes = 0;
  size_t peakBytes = 0;

 private:
  std::map<size_t, std::vector<std::unique_ptr<FencedBytes>>> kept_;
  unsigned edges_ = 0;
};

/// A block from the pool, given back when it goes out of scope.
class PixelMemory {
 public:
  PixelMemory(PixelPool& pool, size_t size)
      : pool_(pool), size_(size), block_(pool.Allocate(size)) {}
  PixelMemory(const PixelMemory&) = delete;
  PixelMemory& operator=(const PixelMemory&) = delete;
  ~PixelMemory() {
    if (block_ != nullptr) pool_.Release(std::move(block_));
  }

  /// Null when memory was short.
  uint8_t* bytes() const { return block_ == nullptr ? nullptr : block_->bytes(); }
  size_t size() const { return size_; }
  bool FencesIntact() const { return block_->Intact(); }
  void Allow(FencedBytes::Access access) const { block_->Allow(access); }

 private:
  PixelPool& pool_;
  size_t size_;
  std::unique_ptr<FencedBytes> block_;
};

}  // namespace sim

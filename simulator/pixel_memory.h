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

  /// Zeros (anything when recycled). Throws std::bad_alloc when memory is short.
  std::unique_ptr<FencedBytes> Allocate(uint64_t size);
  void Release(std::unique_ptr<FencedBytes> bytes);

  /// Where memory bites, one picture after the other ends at a page without access or begins behind
  /// one, so that of two that are made in pairs both are met.
  Edge NextEdge();

  /// What the bits of a pixel hold that mean nothing: where memory bites, other ones in one picture
  /// than in the next.
  uint8_t Meaningless(uint8_t usual) const;

  bool warm = false;
  bool bites = false;
  size_t liveBytes = 0;
  size_t peakBytes = 0;

 private:
  std::map<uint64_t, std::vector<std::unique_ptr<FencedBytes>>> kept_;
  unsigned edges_ = 0;
};

/// A block from the pool, given back when it goes out of scope.
class PixelMemory {
 public:
  PixelMemory(PixelPool& pool, uint64_t size) : pool_(pool), block_(pool.Allocate(size)) {}
  PixelMemory(const PixelMemory&) = delete;
  PixelMemory& operator=(const PixelMemory&) = delete;
  ~PixelMemory() { pool_.Release(std::move(block_)); }

  uint8_t* bytes() const { return block_->bytes(); }
  size_t size() const { return block_->size(); }
  bool FencesIntact() const { return block_->Intact(); }
  void Allow(FencedBytes::Access access) const { block_->Allow(access); }

 private:
  PixelPool& pool_;
  std::unique_ptr<FencedBytes> block_;
};

}  // namespace sim

#include "simulator/pixel_memory.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace sim {

std::unique_ptr<FencedBytes> PixelPool::Allocate(uint64_t size) {
  auto& kept = kept_[size];
  std::unique_ptr<FencedBytes> block;
  if (kept.empty()) {
    block = FencedBytes::Make(size, NextEdge());
  } else {
    block = std::move(kept.back());
    kept.pop_back();
  }
  liveBytes += block->size();
  peakBytes = std::max(peakBytes, liveBytes);
  return block;
}

void PixelPool::Release(std::unique_ptr<FencedBytes> block) {
  liveBytes -= block->size();
  if (warm) kept_[block->size()].push_back(std::move(block));
}

uint8_t PixelPool::Meaningless(uint8_t usual) const {
  constexpr uint8_t kBits[] = {0xDA, 0x00, 0x7F};
  return bites ? kBits[edges_ % std::size(kBits)] : usual;
}

Edge PixelPool::NextEdge() {
  if (!bites) return Edge::kFences;
  const unsigned number = edges_++;
  return ((number ^ number >> 1) & 1) == 0 ? Edge::kEndsAtPage : Edge::kBeginsAtPage;
}

}  // namespace sim

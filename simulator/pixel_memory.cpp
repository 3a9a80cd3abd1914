#include "simulator/pixel_memory.h"

#include <algorithm>
#include <utility>

namespace sim {

std::unique_ptr<FencedBytes> PixelPool::Allocate(size_t size) {
  auto& kept = kept_[size];
  std::unique_ptr<FencedBytes> block;
  if (kept.empty()) {
    block = FencedBytes::Make(size, NextEdge());
    if (block == nullptr) return nullptr;
  } else {
    block = std::move(kept.back());
    kept.pop_back();
  }
  liveBytes += size;
  peakBytes = std::max(peakBytes, liveBytes);
  return block;
}

void PixelPool::Release(std::unique_ptr<FencedBytes> block) {
  liveBytes -= block->size();
  if (warm) kept_[block->size()].push_back(std::move(block));
}

Edge PixelPool::NextEdge() {
  if (!bites) return Edge::kFences;
  const unsigned number = edges_++;
  return ((number ^ number >> 1) & 1) == 0 ? Edge::kEndsAtPage : Edge::kBeginsAtPage;
}

}  // namespace sim

#include "simulator/fenced_bytes.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace sim {
namespace {

constexpr size_t kMostBytes = 0x7FFFFFFF;

}  // namespace

bool IsGuard(const uint8_t* bytes, size_t size) {
  return std::all_of(bytes, bytes + size, [](uint8_t byte) { return byte == kGuardByte; });
}

std::unique_ptr<FencedBytes> FencedBytes::Make(uint64_t byteCount, Edge edge, size_t fenceBytes) {
  if (byteCount > kMostBytes) throw std::bad_alloc();
  const auto size = static_cast<size_t>(byteCount);
  std::unique_ptr<FencedBytes> made(new FencedBytes);
  made->size_ = size;
  if (edge == Edge::kFences) {
    made->block_ = static_cast<uint8_t*>(std::calloc(1, size + 2 * fenceBytes));
    if (made->block_ == nullptr) throw std::bad_alloc();
    made->before_ = made->after_ = fenceBytes;
  } else {
    const size_t pageBytes = WholePages(std::max(size, size_t{1}));
    void* const pages = mmap(nullptr, pageBytes + 2 * kPageBytes, PROT_NONE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    made->pageBytes_ = pageBytes;
    made->block_ = static_cast<uint8_t*>(pages);
    made->Allow(Access::kWrite);
    (edge == Edge::kEndsAtPage ? made->before_ : made->after_) = made->pageBytes_ - size;
  }
  uint8_t* const first = made->block_ + (made->pageBytes_ == 0 ? 0 : kPageBytes);
  made->bytes_ = first + made->before_;
  std::memset(first, kGuardByte, made->before_);
  std::memset(made->bytes_ + size, kGuardByte, made->after_);
  return made;
}

FencedBytes::~FencedBytes() {
  if (pageBytes_ == 0) {
    std::free(block_);
  } else {
    // Closed for good: were the pages given back, the next picture might open them again to whoever
    // kept an address.
    madvise(block_, pageBytes_ + 2 * kPageBytes, MADV_DONTNEED);
    mprotect(block_, pageBytes_ + 2 * kPageBytes, PROT_NONE);
  }
}

bool FencedBytes::Intact() const {
  return IsGuard(bytes_ - before_, before_) && IsGuard(bytes_ + size_, after_);
}

void FencedBytes::Allow(Access access) {
  if (pageBytes_ == 0) return;
  constexpr int kProtections[] = {PROT_NONE, PROT_READ, PROT_READ | PROT_WRITE};
  mprotect(block_ + kPageBytes, pageBytes_, kProtections[static_cast<size_t>(access)]);
}

}  // namespace sim

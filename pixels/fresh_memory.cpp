#include "pixels/fresh_memory.h"

#include <sys/mman.h>

#include <cerrno>

namespace velpicture {
namespace {

constexpr uintptr_t kPageBytes = 4096;
constexpr uintptr_t kHugePageBytes = uintptr_t{2} << 20;

/// Smaller blocks come from memory that the C library keeps, and seldom are fresh.
constexpr uintptr_t kLeastBytes = uintptr_t{512} << 10;

/// Since Linux 5.14, and so not in the C library's headers of older systems.
constexpr int kPopulateWrite = 23;

constexpr uintptr_t RoundUp(uintptr_t address, uintptr_t unit) {
  return (address + unit - 1) & ~(unit - 1);
}

/// Addresses begin to end − 1.
struct Range {
  uintptr_t begin;
  uintptr_t end;

  uintptr_t Bytes() const { return end > begin ? end - begin : 0; }
  bool HoldsHugePage() const { return RoundUp(begin, kHugePageBytes) + kHugePageBytes <= end; }
};

bool Advise(const Range& pages, int advice) {
  return madvise(reinterpret_cast<void*>(pages.begin), pages.Bytes(), advice) == 0;
}

/// Asks for the whole pages of memory that will all be written. False when the kernel refused.
bool Request(const Range& memory) {
  const Range pages = {RoundUp(memory.begin, kPageBytes), memory.end & ~(kPageBytes - 1)};
  if (pages.Bytes() < kLeastBytes) return true;
  const uintptr_t middle = (pages.begin + pages.Bytes() / 2) & ~(kPageBytes - 1);
  const uintptr_t samples[] = {pages.begin, middle, pages.end - kPageBytes};
  for (const uintptr_t page : samples) {
    unsigned char state = 0;
    if (mincore(reinterpret_cast<void*>(page), kPageBytes, &state) != 0) return false;
    if ((state & 1) != 0) return true;
  }
  // Where there are no huge pages, small ones still come faster together than one by one.
  if (pages.HoldsHugePage()) Advise(pages, MADV_HUGEPAGE);
  return Advise(pages, kPopulateWrite);
}

}  // namespace

void RequestFreshMemory(const PictureEditor& target) {
  if (int64_t{target.width} * target.height * target.bytesPerPixel < int64_t{kLeastBytes}) return;
  const int error = errno;
  // Rows may lie anywhere and in any order. Between two that lie less than a page apart there is no
  // page without pixels: they make one range.
  Range range = {};
  bool granted = true;
  for (int y = 0; y < target.height && granted; ++y) {
    const auto row = reinterpret_cast<uintptr_t>(RowAddress(target, y));
    const uintptr_t end = row + static_cast<uintptr_t>(target.width) * target.bytesPerPixel;
    if (row - range.end < kPageBytes) {
      range.end = end;
    } else if (range.begin - end < kPageBytes) {
      range.begin = row;
    } else {
      granted = Request(range);
      range = {row, end};
    }
  }
  if (granted) Request(range);
  errno = error;
}

}  // namespace velpicture

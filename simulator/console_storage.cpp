#include "simulator/console_storage.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>

namespace sim {
namespace {

// A row table entry past the last row: reading through it ends the process.
constexpr uintptr_t kPoisonRow = 0xBAD0BAD0;
constexpr int kPoisonRows = 4;

// 20 keeps rows at multiples of 4 and off multiples of 16.
int GapBytes(RowLayout rows) { return rows == RowLayout::kContiguous ? 0 : 20; }

uint64_t Stride(const StorageRequest& request) {
  return uint64_t{4} * static_cast<uint32_t>(request.width) + GapBytes(request.rows);
}

// Slots between the halves of a picture, or after all rows.
int FreeSlots(const StorageRequest& request) {
  constexpr int kFreeBytes = 3 * kPageBytes;
  return request.rows == RowLayout::kHalves ? static_cast<int>(kFreeBytes / Stride(request)) + 1
                                            : 0;
}

// Bytes of all rows with their gaps.
uint64_t TotalBytes(const StorageRequest& request) {
  return Stride(request) * static_cast<uint64_t>(int64_t{request.height} + FreeSlots(request));
}

// The slot of each row, counted in strides.
std::vector<int> RowSlots(const StorageRequest& request) {
  std::vector<int> slots(static_cast<size_t>(request.height));
  std::iota(slots.begin(), slots.end(), 0);
  if (request.rows == RowLayout::kReversed) std::reverse(slots.begin(), slots.end());
  if (request.rows == RowLayout::kHalves) {
    const int half = request.height / 2;
    std::rotate(slots.begin(), slots.begin() + (request.height - half), slots.end());
    for (int y = 0; y < half; ++y) slots[static_cast<size_t>(y)] += FreeSlots(request);
  }
  if (request.rows == RowLayout::kScattered) {
    // Same pictures, same places: a failure can be repeated.
    std::mt19937 random(static_cast<uint32_t>(request.width * 31 + request.height));
    std::shuffle(slots.begin(), slots.end(), random);
  }
  return slots;
}

}  // namespace

ConsoleStorage::ConsoleStorage(const StorageRequest& request)
    : MemoryStorage(request, TotalBytes(request)),
      gapBytes_(GapBytes(request.rows)),
      unusedBit_((request.pool.Meaningless(0) & 0x80U) << 24) {
  const size_t stride = static_cast<size_t>(width()) * 4 + static_cast<size_t>(gapBytes_);
  for (const int slot : RowSlots(request)) {
    uint8_t* const row = memory() + static_cast<size_t>(slot) * stride;
    rows_.push_back(row);
    std::memset(row + stride - gapBytes_, kGuardByte, static_cast<size_t>(gapBytes_));
  }
  const size_t tableBytes = (rows_.size() + kPoisonRows) * sizeof(uint8_t*);
  records_ = FencedBytes::Make(tableBytes + sizeof *block_,
                               request.pool.bites ? Edge::kEndsAtPage : Edge::kFences, 0);
  // No two pictures' are alike: a row copied onto itself would not be noticed.
  const uintptr_t poison = kPoisonRow - (reinterpret_cast<uintptr_t>(this) & 0xFFFF);
  table_ = reinterpret_cast<uint8_t**>(records_->bytes());
  std::fill_n(std::copy(rows_.begin(), rows_.end(), table_), kPoisonRows,
              reinterpret_cast<uint8_t*>(poison));
  block_ = reinterpret_cast<ConsolePixelBlock*>(records_->bytes() + tableBytes);
  std::memset(block_, kGuardByte, sizeof *block_);
  // An alpha picture's flags are of no interest to anybody, so they are not zero.
  block_->flags = alpha() ? 1 : 0;
  block_->width = width();
  block_->height = height();
  block_->storage = memory();
  block_->rowTable = table_;
}

void ConsoleStorage::Reach(bool isOpen) {
  MemoryStorage::Reach(isOpen);
  records_->Allow(isOpen ? FencedBytes::Access::kRead : FencedBytes::Access::kNone);
}

void ConsoleStorage::ReadRow(int y, Rgba* out) const {
  const uint32_t* const words = Words(y);
  for (int x = 0; x < width(); ++x) {
    const uint32_t word = words[x];
    const uint32_t alpha7 = (word >> 24) & 0x7F;
    out[x] = {static_cast<uint8_t>(word >> 16), static_cast<uint8_t>(word >> 8),
              static_cast<uint8_t>(word), static_cast<uint8_t>(alpha7 * 2 + (alpha7 & 1))};
  }
}

void ConsoleStorage::WriteRow(int y, const Rgba* in) {
  uint32_t* const words = Words(y);
  for (int x = 0; x < width(); ++x) {
    const Rgba pixel = in[x];
    const uint32_t alpha7 = alpha() ? pixel.alpha >> 1 : 0x7F;
    words[x] = unusedBit_ | alpha7 << 24 | static_cast<uint32_t>(pixel.red) << 16 |
               static_cast<uint32_t>(pixel.green) << 8 | pixel.blue;
  }
}

bool ConsoleStorage::GuardsIntact() const {
  if (!MemoryStorage::GuardsIntact()) return false;
  if (!std::equal(rows_.begin(), rows_.end(), table_)) return false;
  if (gapBytes_ == 0) return true;
  return std::all_of(rows_.begin(), rows_.end(), [this](const uint8_t* row) {
    return IsGuard(row + static_cast<size_t>(width()) * 4, static_cast<size_t>(gapBytes_));
  });
}

UnlockableStorage::UnlockableStorage(const StorageRequest& request)
    : MemoryStorage(request, TotalBytes(request)) {}

Rgba* UnlockableStorage::Row(int y) const {
  return reinterpret_cast<Rgba*>(memory()) + static_cast<ptrdiff_t>(y) * width();
}

void UnlockableStorage::ReadRow(int y, Rgba* out) const { std::copy_n(Row(y), width(), out); }

void UnlockableStorage::WriteRow(int y, const Rgba* in) {
  std::transform(in, in + width(), Row(y), [this](Rgba pixel) {
    if (!alpha()) pixel.alpha = 255;
    return pixel;
  });
}

}  // namespace sim

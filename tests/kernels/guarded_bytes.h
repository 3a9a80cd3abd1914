#pragma once

// Memory for the kernels to read and write, between pages that may not be touched.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

namespace velpicture {

class GuardedBytes {
 public:
  /// `gap` bytes lie between the bytes and the page before them, or behind them where `atEnd`.
  GuardedBytes(size_t size, size_t gap, bool atEnd)
      : page_(sysconf(_SC_PAGESIZE)),
        size_(size),
        inside_((size + gap + page_ - 1) / page_ * page_) {
    auto& kept = Kept()[inside_];
    if (kept.empty()) {
      base_ = static_cast<uint8_t*>(
          mmap(nullptr, inside_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      mprotect(base_ + page_, inside_, PROT_READ | PROT_WRITE);
    } else {
      base_ = kept.back();
      kept.pop_back();
    }
    bytes_ = base_ + page_ + (atEnd ? inside_ - size - gap : gap);
  }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;
  ~GuardedBytes() { Kept()[inside_].push_back(base_); }

  uint8_t* data() { return bytes_; }
  size_t size() const { return size_; }
  std::vector<uint8_t> Copy() const { return {bytes_, bytes_ + size_}; }
  void CopyTo(std::vector<uint8_t>& bytes) const { bytes.assign(bytes_, bytes_ + size_); }
  void Restore(const std::vector<uint8_t>& bytes) { std::copy(bytes.begin(), bytes.end(), bytes_); }

  /// Fills the bytes from random(); many of them repeat, at a distance that no row or column has.
  template <class Random>
  void Fill(Random random) {
    constexpr size_t kPeriod = 8191;
    std::generate_n(bytes_, std::min(size_, kPeriod), random);
    for (size_t i = kPeriod; i < size_; i += kPeriod) {
      std::memcpy(bytes_ + i, bytes_ + i - kPeriod, std::min(size_ - i, kPeriod));
    }
  }

 private:
  /// Memory is mapped once and used again: an emulator hands out ever new addresses, and in the end
  /// those where the address sanitizer keeps its records.
  static std::map<size_t, std::vector<uint8_t*>>& Kept() {
    static std::map<size_t, std::vector<uint8_t*>> kept;
    return kept;
  }

  size_t page_, size_, inside_;
  uint8_t* base_;
  uint8_t* bytes_;
};

/// Runs both on what the bytes hold now, expects that both leave the same, and takes it back: what
/// is not written must not be there already.
template <class Plain, class Variant>
void ExpectSameBytes(GuardedBytes& bytes, Plain plain, Variant variant) {
  static std::vector<uint8_t> before, expected, given;  // Large; allocated once.
  bytes.CopyTo(before);
  plain();
  bytes.CopyTo(expected);
  bytes.Restore(before);
  variant();
  bytes.CopyTo(given);
  bytes.Restore(before);
  if (given == expected) return;
  const auto differ = std::mismatch(expected.begin(), expected.end(), given.begin());
  FAIL() << "byte " << differ.first - expected.begin();
}

}  // namespace velpicture

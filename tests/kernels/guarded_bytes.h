#pragma once

// Memory of random bytes for the kernels to read and write, between pages that may not be touched.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <vector>

namespace velpicture {

struct Random : std::mt19937 {
  using std::mt19937::mt19937;
  uint32_t Word() { return static_cast<uint32_t>((*this)()); }
  int Int(int low, int high) {
    return low + static_cast<int>(Word() % static_cast<uint32_t>(high - low + 1));
  }
  bool OneIn(int count) { return Int(1, count) == 1; }
};

class GuardedBytes {
 public:
  /// `gap` bytes lie between the bytes and the page before them, or behind them where `atEnd`.
  GuardedBytes(size_t size, size_t gap, bool atEnd, Random& random)
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
    Fill(random);
  }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;
  ~GuardedBytes() { Kept()[inside_].push_back(base_); }

  uint8_t* data() { return bytes_; }
  size_t size() const { return size_; }
  void CopyTo(std::vector<uint8_t>& bytes) const { bytes.assign(bytes_, bytes_ + size_); }
  void Restore(const std::vector<uint8_t>& bytes) { std::copy(bytes.begin(), bytes.end(), bytes_); }

 private:
  /// Channels are now and then 0 and 255 only. Many bytes repeat, at a distance that no row or
  /// column has.
  void Fill(Random& random) {
    const bool extreme = random.OneIn(4);
    constexpr size_t kPeriod = 8191;
    std::generate_n(bytes_, std::min(size_, kPeriod), [&] {
      return static_cast<uint8_t>(extreme ? -(random.Word() & 1) : random.Word() >> 8);
    });
    for (size_t i = kPeriod; i < size_; i += kPeriod) {
      std::memcpy(bytes_ + i, bytes_ + i - kPeriod, std::min(size_ - i, kPeriod));
    }
  }

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

}  // namespace velpicture

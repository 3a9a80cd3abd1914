#pragma once

// A call of a function whose signature is known at run time only: its arguments are laid down one
// by one, as a cdecl caller would push them. The caller is as trying as a host may be (its stack is
// aligned to 4 bytes only, with litter below it and behind the arguments), and looks afterwards
// whether what is its own is as it was: registers, stack pointer, floating-point stack and control,
// direction flag.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace sim {

/// How the caller computes and keeps its stack.
struct CallerHabits {
  uint16_t x87Control = 0x037F;
  uint32_t mxcsr = 0x1F80;
  /// Bytes by which the stack misses a multiple of 16 at the call; a multiple of 4.
  uint32_t misalignment = 12;
  /// What lies in the words behind the arguments. Where littersStack is set, it lies below the
  /// call, too: whoever reads there what nobody wrote gets this.
  uint32_t litter = 0x5EEDBEEF;
  bool littersStack = false;
};

#if defined(__i386__)

/// Arguments are 32-bit words on the stack, 64-bit ones two of them.
class RawCall {
 public:
  static constexpr size_t kRoom = 64;

  void Push(uint32_t word) {
    if (used_ == words_.size()) throw std::length_error("more arguments than a call has room for");
    words_[used_++] = word;
  }
  void Push(const void* address) { Push(reinterpret_cast<uint32_t>(address)); }
  void Push(int64_t value) { PushWide(&value); }
  void Push(double value) { PushWide(&value); }

  /// The result in eax and edx; of one that returns a floating-point number, its bits. The words
  /// beyond the arguments do no harm: a cdecl callee ignores them. `broken` says what of the
  /// caller's the callee did not leave as it was, and stays empty when all is well.
  uint64_t Run(void* function, const CallerHabits& habits, bool returnsNumber, std::string& broken);

 private:
  void PushWide(const void* value) {
    uint32_t halves[2];
    std::memcpy(halves, value, sizeof halves);
    Push(halves[0]);
    Push(halves[1]);
  }

  std::array<uint32_t, kRoom> words_ = {};
  size_t used_ = 0;
};

#else

/// The 64-bit stand-in: whole numbers and doubles travel in registers, each kind in its own order.
class RawCall {
 public:
  static constexpr size_t kRoom = 64;

  void Push(uint32_t word) { PushWhole(word); }
  void Push(const void* address) { PushWhole(reinterpret_cast<uintptr_t>(address)); }
  void Push(int64_t value) { PushWhole(static_cast<uint64_t>(value)); }
  void Push(double value) {
    if (doubleCount_ == doubles_.size()) throw std::length_error(kTooMany);
    doubles_[doubleCount_++] = value;
  }

  uint64_t Run(void* function, const CallerHabits&, bool, std::string&) const {
    using Function = uint64_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, double,
                              double, double, double, double, double, double, double);
    return reinterpret_cast<Function*>(function)(
        whole_[0], whole_[1], whole_[2], whole_[3], whole_[4], whole_[5], doubles_[0], doubles_[1],
        doubles_[2], doubles_[3], doubles_[4], doubles_[5], doubles_[6], doubles_[7]);
  }

 private:
  static constexpr const char* kTooMany =
      "the 64-bit stand-in passes six whole numbers and eight doubles at most";
  void PushWhole(uint64_t word) {
    if (wholeCount_ == whole_.size()) throw std::length_error(kTooMany);
    whole_[wholeCount_++] = word;
  }

  std::array<uint64_t, 6> whole_ = {};
  std::array<double, 8> doubles_ = {};
  size_t wholeCount_ = 0, doubleCount_ = 0;
};

#endif

}  // namespace sim

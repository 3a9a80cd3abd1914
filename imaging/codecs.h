#pragma once

// The formats of picture files, bytes to image and back. Encoders take out of the image's metadata
// what their format cannot hold.

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "imaging/image.h"

namespace imaging {

/// What is wrong with a file, or with an image that a format cannot hold.
struct CodecError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct TooLarge : CodecError {
  TooLarge() : CodecError("too large") {}
};

/// Throws for no pixels, and for more than 32 bits leave room to work with.
inline void CheckSize(uint64_t width, uint64_t height) {
  if (width == 0 || height == 0) throw CodecError("no pixels");
  if (width * height > 16384 * 16384) throw TooLarge();
}

Image DecodePng(std::string_view file);
Image DecodeJpeg(std::string_view file);
Image DecodeBmp(std::string_view file);

std::string EncodePng(Image& image);
/// `quality` from 1 to 100; 0 for that of the file which the image comes from.
std::string EncodeJpeg(Image& image, int quality);
std::string EncodeBmp(Image& image);

/// Appends, from where no exception may pass; false when memory is short.
inline bool Append(std::string& bytes, const void* more, size_t count) noexcept try {
  bytes.append(static_cast<const char*>(more), count);
  return true;
} catch (const std::exception&) {
  return false;
}

/// Where a C library jumps to when it fails, since exceptions cannot pass through its code.
class Trap {
 public:
  /// Runs `work`, which must hold nothing with a destructor while it is in the library.
  template <class Work>
  void Run(Work work) {
    if (!Survives(work)) {
      // So the libraries put it.
      if (std::strstr(reason_, "memory") != nullptr) throw std::bad_alloc();
      throw CodecError(reason_);
    }
  }
  [[noreturn]] void Spring(const char* reason) {
    std::snprintf(reason_, sizeof reason_, "%s", reason);
    std::longjmp(target_, 1);
  }

 private:
  template <class Work>
  [[gnu::noinline]] bool Survives(Work& work) {
    if (setjmp(target_) != 0) return false;
    work();
    return true;
  }

  std::jmp_buf target_;
  char reason_[200] = "";
};

}  // namespace imaging

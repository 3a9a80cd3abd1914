#pragma once

// Bytes of the host that the plugin gets to see, with something on both sides that tells when it
// steps over: guard bytes, looked at afterwards, or where memory bites a page without access on one
// side, where it dies at the very instruction. Such bytes can be closed, too, or only be read.

#include <cstddef>
#include <cstdint>
#include <memory>

namespace sim {

constexpr uint8_t kGuardByte = 0xE7;
constexpr size_t kFenceBytes = 64;
constexpr size_t kPageBytes = 4096;
/// The bytes of all pages that this many reach into.
constexpr size_t WholePages(size_t size) {
  return (size + kPageBytes - 1) / kPageBytes * kPageBytes;
}

/// True when all `size` bytes are guard bytes.
bool IsGuard(const uint8_t* bytes, size_t size);

/// What the bytes end at or begin behind.
enum class Edge { kFences, kEndsAtPage, kBeginsAtPage };

class FencedBytes {
 public:
  /// Zeros, aligned to 16 bytes except where they end at a page. Of fences, `fenceBytes` on both
  /// sides (a multiple of 16, or none at all). Throws std::bad_alloc when memory is short.
  static std::unique_ptr<FencedBytes> Make(uint64_t byteCount, Edge edge,
                                           size_t fenceBytes = kFenceBytes);
  FencedBytes(const FencedBytes&) = delete;
  FencedBytes& operator=(const FencedBytes&) = delete;
  ~FencedBytes();

  uint8_t* bytes() const { return bytes_; }
  size_t size() const { return size_; }
  /// False once somebody wrote beside the bytes.
  bool Intact() const;

  enum class Access { kNone, kRead, kWrite };
  /// What anybody may do with them from now on; with fences it stays everything.
  void Allow(Access access);

 private:
  FencedBytes() = default;

  uint8_t* block_ = nullptr;  // of the pages without access also those
  uint8_t* bytes_ = nullptr;
  size_t size_ = 0;
  size_t before_ = 0, after_ = 0;  // guard bytes
  size_t pageBytes_ = 0;           // between the pages without access; 0 for fences
};

}  // namespace sim

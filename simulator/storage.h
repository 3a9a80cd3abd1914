#pragma once

// Storage: the native pixels behind one host picture. A storage knows how to describe itself when
// the plugin locks the picture, and how to move rows in and out as straight RGBA. It lives exactly
// as long as its picture; references, locks and the ledger are the picture's affair.
//
// One that cannot be had (memory is short, a library is missing or refuses the size) throws
// std::bad_alloc when it is made.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "host/host_types.h"
#include "simulator/image.h"
#include "simulator/pixel_memory.h"
#include "simulator/settings.h"

namespace sim {

struct StorageRequest {
  int width;
  int height;
  bool alpha;
  RowLayout rows;
  int extraStrideBytes;
  PixelPool& pool;
};

class Storage {
 public:
  explicit Storage(const StorageRequest& request)
      : width_(request.width), height_(request.height), alpha_(request.alpha) {}
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;
  virtual ~Storage() = default;

  int width() const { return width_; }
  int height() const { return height_; }
  bool alpha() const { return alpha_; }
  virtual StorageKind kind() const = 0;

  /// Answers a lock for one native kind (REALpictureStorage; 0 stands for whatever this is): fills
  /// type, data, width and height and returns true, or returns false and leaves the record alone.
  virtual bool Lock(int type, REALpictureDescription& description);
  /// Gives one successful lock back. Returns what was not left as it was, or nothing.
  virtual std::string Unlock() { return ""; }

  /// What a plugin that has nothing locked left behind, or nothing.
  virtual std::string Imbalance() const { return ""; }

  /// One row as straight RGBA, and back; converting as this storage keeps pixels (7-bit alpha,
  /// premultiplied colours, no alpha).
  virtual void ReadRow(int y, Rgba* out) const = 0;
  virtual void WriteRow(int y, const Rgba* in) = 0;

  /// The raw 32-bit words of row `y`; null where the pixels are none.
  virtual uint32_t* Words(int) const { return nullptr; }
  /// True when any of the bytes from `begin` to `end` is part of the words.
  bool TouchesPages(uintptr_t begin, uintptr_t end) const;
  /// True when the whole pages from `begin` to `end` lie between the first of the words and the
  /// last, and each holds some.
  bool CoversPages(uintptr_t begin, uintptr_t end) const;

  /// Where memory bites, the pixels are closed unless somebody has them open: the plugin while it
  /// has the picture locked, the host while it looks at them. New ones are open until they are
  /// closed once.
  void Open();
  void Close();

  /// False once somebody wrote outside the pixels: a fence, row padding, a gap between rows.
  virtual bool GuardsIntact() const = 0;
  virtual size_t ByteCount() const = 0;

 private:
  /// What a successful lock hands out.
  virtual void* Lend() { return nullptr; }
  /// Lets pixels and what leads to them be reached, or not.
  virtual void Reach(bool /*isOpen*/) {}

  int timesOpen_ = 0;
  int width_;
  int height_;
  bool alpha_;
};

/// For as long as the host looks at a picture's pixels, or changes them.
class OpenPixels {
 public:
  explicit OpenPixels(Storage& storage) : storage_(storage) { storage_.Open(); }
  OpenPixels(const OpenPixels&) = delete;
  OpenPixels& operator=(const OpenPixels&) = delete;
  ~OpenPixels() { storage_.Close(); }

 private:
  Storage& storage_;
};

/// Pixels in memory of the host's own, zeroed or recycled.
class MemoryStorage : public Storage {
 public:
  size_t ByteCount() const override { return memory_.size(); }
  bool GuardsIntact() const override { return memory_.FencesIntact(); }

 protected:
  MemoryStorage(const StorageRequest& request, uint64_t byteCount)
      : Storage(request), memory_(request.pool, byteCount) {}
  void Reach(bool isOpen) override {
    memory_.Allow(isOpen ? FencedBytes::Access::kWrite : FencedBytes::Access::kNone);
  }
  uint8_t* memory() const { return memory_.bytes(); }

 private:
  const PixelMemory memory_;
};

/// Whether pictures of some kind are locked as this REALpictureStorage.
bool IsNativeType(int type);

/// Opens what a kind of storage needs. Returns an empty string, or what is missing.
std::string InstallStorage(StorageKind kind);

using StorageFactory = std::unique_ptr<Storage> (*)(const StorageRequest&);
template <class T>
std::unique_ptr<Storage> MakeStorageOf(const StorageRequest& request) {
  return std::make_unique<T>(request);
}
/// From now on that kind is made so.
void SetStorageFactory(StorageKind kind, StorageFactory factory);
/// Null when it cannot be had.
std::unique_ptr<Storage> MakeStorage(StorageKind kind, const StorageRequest& request);

}  // namespace sim

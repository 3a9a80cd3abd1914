#pragma once

// Cairo storage: a context over an image surface of the real Cairo. Pictures with alpha channel are
// ARGB32 (premultiplied), opaque ones RGB24, whose top byte means nothing and so is no 0xFF here.
// Bytes of the stride beyond the pixels are guard bytes.

#include <string>

#include "simulator/storage.h"

namespace sim {

/// Opens the 32-bit Cairo and makes StorageKind::kCairo available. Returns an empty string, or what
/// is missing.
std::string InstallCairoStorage();

class CairoStorage final : public Storage {
 public:
  /// Null when memory is short or Cairo refuses the size.
  static std::unique_ptr<Storage> Make(const StorageRequest& request);
  ~CairoStorage() override;

  StorageKind kind() const override { return StorageKind::kCairo; }
  bool Lock(int type, REALpictureDescription& description) override;
  std::string Unlock() override;
  std::string Imbalance() const override;
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;
  bool GuardsIntact() const override;
  size_t ByteCount() const override { return memory_.size(); }

  uint32_t* Words(int y) const override {
    return reinterpret_cast<uint32_t*>(memory_.bytes() + static_cast<size_t>(y) * strideBytes_);
  }

 private:
  void Reach(bool isOpen) override {
    memory_.Allow(isOpen ? FencedBytes::Access::kWrite : FencedBytes::Access::kNone);
  }
  std::string ContextChange();
  explicit CairoStorage(const StorageRequest& request);

  size_t strideBytes_;
  PixelMemory memory_;
  void* surface_ = nullptr;
  void* context_ = nullptr;
  unsigned surfaceReferences_ = 0;
  int locks_ = 0;
};

}  // namespace sim

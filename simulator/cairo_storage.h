#pragma once

// Cairo storage: a context over an image surface of the real Cairo. Pictures with alpha channel are
// ARGB32 (premultiplied), opaque ones RGB24, whose top byte means nothing and so is no 0xFF here.
// Bytes of the stride beyond the pixels are guard bytes.

#include <string>

#include "simulator/storage.h"

namespace sim {

/// Opens the 32-bit Cairo. Returns an empty string, or what is missing.
std::string InstallCairo();

class CairoStorage final : public MemoryStorage {
 public:
  explicit CairoStorage(const StorageRequest& request);
  ~CairoStorage() override;

  StorageKind kind() const override { return StorageKind::kCairo; }
  std::string Unlock() override;
  std::string Imbalance() const override;
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;
  bool GuardsIntact() const override;

  uint32_t* Words(int y) const override {
    return reinterpret_cast<uint32_t*>(memory() + static_cast<size_t>(y) * strideBytes_);
  }

 private:
  void* Lend() override;
  std::string ContextChange();

  size_t strideBytes_;
  uint32_t unusedByte_;
  void* surface_ = nullptr;
  void* context_ = nullptr;
  unsigned surfaceReferences_ = 0;
  int locks_ = 0;
};

}  // namespace sim

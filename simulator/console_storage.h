#pragma once

// Console storage: a ConsolePixelBlock with 32-bit words (7-bit alpha in bits 24 to 30, nothing in
// bit 31) and a table of row addresses. Opaque pictures hold alpha 127 in every word they are
// written.

#include <vector>

#include "simulator/storage.h"

namespace sim {

class ConsoleStorage final : public MemoryStorage {
 public:
  explicit ConsoleStorage(const StorageRequest& request);

  StorageKind kind() const override { return StorageKind::kConsole; }
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;
  bool GuardsIntact() const override;

  /// Found through the original row table.
  uint32_t* Words(int y) const override {
    return reinterpret_cast<uint32_t*>(rows_[static_cast<size_t>(y)]);
  }
  /// What the plugin is handed; tests spoil its words to see them checked.
  ConsolePixelBlock& block() { return *block_; }

 private:
  void* Lend() override { return block_; }
  void Reach(bool isOpen) override;

  int gapBytes_;
  uint32_t unusedBit_;
  std::vector<uint8_t*> rows_;
  // What the plugin may read only: its copy of the row table, whose entries past the last row are
  // poison, and the block.
  std::unique_ptr<FencedBytes> records_;
  uint8_t** table_ = nullptr;
  ConsolePixelBlock* block_ = nullptr;
};

/// Pixels that no lock reaches.
class UnlockableStorage : public MemoryStorage {
 public:
  explicit UnlockableStorage(const StorageRequest& request);

  StorageKind kind() const override { return StorageKind::kNone; }
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;

 private:
  Rgba* Row(int y) const;
};

}  // namespace sim

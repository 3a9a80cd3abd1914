#pragma once

// Console storage: a ConsolePixelBlock with 32-bit words (7-bit alpha in bits 24 to 30) and a table
// of row addresses. Opaque pictures hold alpha 127 in every word they are written.

#include <vector>

#include "simulator/storage.h"

namespace sim {

class ConsoleStorage final : public Storage {
 public:
  /// Null when memory is short.
  static std::unique_ptr<Storage> Make(const StorageRequest& request);

  StorageKind kind() const override { return StorageKind::kConsole; }
  bool Lock(int type, REALpictureDescription& description) override;
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;
  bool GuardsIntact() const override;
  size_t ByteCount() const override { return memory_.size(); }

  /// Found through the original row table.
  uint32_t* Words(int y) const override {
    return reinterpret_cast<uint32_t*>(rows_[static_cast<size_t>(y)]);
  }
  /// What the plugin is handed; tests spoil its words to see them checked.
  ConsolePixelBlock& block() { return *block_; }

 private:
  void Reach(bool isOpen) override;
  explicit ConsoleStorage(const StorageRequest& request);

  int gapBytes_;
  PixelMemory memory_;
  std::vector<uint8_t*> rows_;
  // What the plugin may read only: its copy of the row table, whose entries past the last row are
  // poison, and the block.
  std::unique_ptr<FencedBytes> records_;
  uint8_t** table_ = nullptr;
  ConsolePixelBlock* block_ = nullptr;
};

/// Pixels that no lock reaches.
class UnlockableStorage : public Storage {
 public:
  static std::unique_ptr<Storage> Make(const StorageRequest& request);

  StorageKind kind() const override { return StorageKind::kNone; }
  bool Lock(int, REALpictureDescription&) override { return false; }
  void ReadRow(int y, Rgba* out) const override;
  void WriteRow(int y, const Rgba* in) override;
  bool GuardsIntact() const override { return true; }
  size_t ByteCount() const override { return memory_.size(); }

 protected:
  explicit UnlockableStorage(const StorageRequest& request);

 private:
  void Reach(bool isOpen) override {
    memory_.Allow(isOpen ? FencedBytes::Access::kWrite : FencedBytes::Access::kNone);
  }
  Rgba* Row(int y) const;

  PixelMemory memory_;
};

}  // namespace sim

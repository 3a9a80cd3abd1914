#pragma once

// A picture without pixels that describes itself as a test wants it, whatever it is.

#include "simulator/console_storage.h"

/// Answers every lock for `lockType` alike.
class OddStorage final : public sim::Storage {
 public:
  /// Pictures without storage are of this kind while it lives.
  struct Scope {
    Scope() { sim::SetStorageFactory(sim::StorageKind::kNone, Make); }
    ~Scope() { sim::SetStorageFactory(sim::StorageKind::kNone, sim::UnlockableStorage::Make); }
  };
  using Storage::Storage;
  sim::StorageKind kind() const override { return sim::StorageKind::kNone; }
  bool Lock(int type, REALpictureDescription& description) override {
    if (type != lockType) return false;
    description = answer;
    return true;
  }
  void ReadRow(int, sim::Rgba*) const override {}
  void WriteRow(int, const sim::Rgba*) override {}
  bool GuardsIntact() const override { return true; }
  size_t ByteCount() const override { return 0; }

  static inline int lockType;
  static inline REALpictureDescription answer;

 private:
  static std::unique_ptr<sim::Storage> Make(const sim::StorageRequest& request) {
    return std::make_unique<OddStorage>(request.width, request.height, request.alpha);
  }
};

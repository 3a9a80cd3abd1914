#pragma once

// A picture that describes itself as a test wants it, whatever it is.

#include "simulator/console_storage.h"

/// Answers every lock for `lockType` alike.
class OddStorage final : public sim::UnlockableStorage {
 public:
  /// Pictures without storage are of this kind while it lives.
  struct Scope {
    Scope() { sim::SetStorageFactory(sim::StorageKind::kNone, sim::MakeStorageOf<OddStorage>); }
    ~Scope() {
      sim::SetStorageFactory(sim::StorageKind::kNone, sim::MakeStorageOf<UnlockableStorage>);
    }
  };

  using UnlockableStorage::UnlockableStorage;
  bool Lock(int type, REALpictureDescription& description) override {
    if (type != lockType) return false;
    description = answer;
    return true;
  }

  static inline int lockType;
  static inline REALpictureDescription answer;
};

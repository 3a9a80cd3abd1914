#include "simulator/storage.h"

#include "simulator/console_storage.h"

namespace sim {
namespace {

StorageFactory& FactoryOf(StorageKind kind) {
  static StorageFactory factories[] = {UnlockableStorage::Make, ConsoleStorage::Make, nullptr,
                                       nullptr};
  return factories[static_cast<size_t>(kind)];
}

}  // namespace

void SetStorageFactory(StorageKind kind, StorageFactory factory) { FactoryOf(kind) = factory; }

std::unique_ptr<Storage> MakeStorage(StorageKind kind, const StorageRequest& request) {
  const StorageFactory factory = FactoryOf(kind);
  return factory == nullptr ? nullptr : factory(request);
}

}  // namespace sim

#include "simulator/storage.h"

#include "simulator/cairo_storage.h"
#include "simulator/console_storage.h"
#include "simulator/gdk_storage.h"

namespace sim {
namespace {

struct Kind {
  /// Null until installed.
  StorageFactory factory;
  /// Null for what needs nothing.
  std::string (*install)();
};

Kind& KindOf(StorageKind kind) {
  static Kind kinds[] = {{UnlockableStorage::Make, nullptr},
                         {ConsoleStorage::Make, nullptr},
                         {nullptr, InstallCairoStorage},
                         {nullptr, InstallGdkStorage}};
  return kinds[static_cast<size_t>(kind)];
}

}  // namespace

std::string InstallStorage(StorageKind kind) {
  const auto install = KindOf(kind).install;
  return install == nullptr ? "" : install();
}

void SetStorageFactory(StorageKind kind, StorageFactory factory) { KindOf(kind).factory = factory; }

std::unique_ptr<Storage> MakeStorage(StorageKind kind, const StorageRequest& request) {
  const StorageFactory factory = KindOf(kind).factory;
  return factory == nullptr ? nullptr : factory(request);
}

}  // namespace sim

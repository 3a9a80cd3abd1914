#include "simulator/storage.h"

#include <algorithm>
#include <iterator>

#include "simulator/cairo_storage.h"
#include "simulator/console_storage.h"
#include "simulator/gdk_storage.h"

namespace sim {
namespace {

struct Kind {
  /// The REALpictureStorage that it is locked as; 0 for none.
  int nativeType;
  /// Null until installed.
  StorageFactory factory;
  /// Null for what needs nothing.
  std::string (*install)();
};

Kind kinds[] = {{0, UnlockableStorage::Make, nullptr},
                {kStorageConsoleBlock, ConsoleStorage::Make, nullptr},
                {kStorageCairoContext, nullptr, InstallCairoStorage},
                {kStorageGdkDrawable, nullptr, InstallGdkStorage}};

Kind& KindOf(StorageKind kind) { return kinds[static_cast<size_t>(kind)]; }

}  // namespace

bool IsNativeType(int type) {
  return type != 0 && std::any_of(std::begin(kinds), std::end(kinds),
                                  [type](const Kind& kind) { return kind.nativeType == type; });
}

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

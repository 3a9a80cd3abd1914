#include "simulator/storage.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <vector>

#include "simulator/cairo_storage.h"
#include "simulator/console_storage.h"
#include "simulator/gdk_storage.h"

namespace sim {
namespace {

struct Kind {
  /// The REALpictureStorage that it is locked as; 0 for none.
  int nativeType;
  StorageFactory factory;
  /// Opens what it needs and says what is missing; null for what needs nothing.
  std::string (*install)();
};

Kind kinds[] = {{0, MakeStorageOf<UnlockableStorage>, nullptr},
                {kStorageConsoleBlock, MakeStorageOf<ConsoleStorage>, nullptr},
                {kStorageCairoContext, MakeStorageOf<CairoStorage>, InstallCairo},
                {kStorageGdkDrawable, MakeStorageOf<GdkStorage>, InstallGdk}};

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

bool Storage::Lock(int type, REALpictureDescription& description) {
  const int ownType = KindOf(kind()).nativeType;
  if (ownType == 0 || (type != 0 && type != ownType)) return false;
  description.type = ownType;
  description.data = Lend();
  description.width = width_;
  description.height = height_;
  return true;
}

void Storage::Open() {
  if (timesOpen_++ == 0) Reach(true);
}

void Storage::Close() {
  if (--timesOpen_ == 0) Reach(false);
}

bool Storage::TouchesPages(uintptr_t begin, uintptr_t end) const {
  for (int y = 0; y < height_ && Words(0) != nullptr; ++y) {
    const auto row = reinterpret_cast<uintptr_t>(Words(y));
    if (row < end && row + size_t{4} * static_cast<size_t>(width_) > begin) return true;
  }
  return false;
}

bool Storage::CoversPages(uintptr_t begin, uintptr_t end) const {
  if (Words(0) == nullptr) return false;
  const auto pageOf = [begin](uintptr_t address) { return (address - begin) / kPageBytes; };
  std::vector<bool> holdsWords(begin < end ? pageOf(end - 1) + 1 : 0);
  uintptr_t first = UINTPTR_MAX, last = 0;
  for (int y = 0; y < height_; ++y) {
    const auto row = reinterpret_cast<uintptr_t>(Words(y));
    const uintptr_t rowEnd = row + size_t{4} * static_cast<size_t>(width_);
    first = std::min(first, row);
    last = std::max(last, rowEnd);
    if (rowEnd <= begin || row >= end) continue;
    const auto pages = holdsWords.begin();
    std::fill(pages + pageOf(std::max(row, begin)), pages + pageOf(std::min(rowEnd, end) - 1) + 1,
              true);
  }
  return begin >= first && end <= last &&
         std::find(holdsWords.begin(), holdsWords.end(), false) == holdsWords.end();
}

void SetStorageFactory(StorageKind kind, StorageFactory factory) { KindOf(kind).factory = factory; }

std::unique_ptr<Storage> MakeStorage(StorageKind kind, const StorageRequest& request) {
  try {
    return KindOf(kind).factory(request);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace sim

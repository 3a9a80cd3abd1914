// Entries for pictures, their locks, masks and Graphics.

#include <algorithm>
#include <cstring>

#include "simulator/entry_table.h"

namespace sim {
namespace {

// From this version on a failed lock leaves nothing to give back.
constexpr double kFirstVersionWithCleanLocks = 2012.0;
constexpr int kWholePicture = -10000;

/// False for a size that no picture has; else the size of the host's answer to it.
bool SizeNewPicture(const Host& host, int& width, int& height) {
  if (width < 1 || height < 1) return false;
  width += host.settings.surplusColumns;
  height += host.settings.surplusRows;
  return width >= 1 && height >= 1;
}

Picture* NewOpaquePicture(Host& host, int width, int height, int depth) {
  if (depth != 32) host.Misuse("new pictures are 32 bits deep here");
  return SizeNewPicture(host, width, height) ? host.NewPicture(width, height, false) : nullptr;
}

void ConstructAlphaPicture(Host& host, Picture& picture, int width, int height) {
  if (picture.storage != nullptr) host.Misuse(picture.Name() + " is constructed already");
  if (!SizeNewPicture(host, width, height)) return;
  if (!host.ConstructPicture(picture, host.NewPictureOptions(true), width, height)) return;
  if (!host.settings.warmMemory) picture.Fill(host.settings.blankWithAlpha);
}

Picture* BuildFromBuffer(Host& host, int width, int height, uint32_t type, const uint8_t* buffer,
                         int rowBytes) {
  if (type != kRBPixelTypeRgb24) host.Misuse("unknown pixel type");
  if (width < 1 || height < 1 || rowBytes < width * 3) host.Misuse("impossible geometry");
  Picture* const picture = host.NewPicture(width, height, false);
  if (picture == nullptr) return nullptr;
  const OpenPixels open(*picture->storage);
  std::vector<Rgba> row(static_cast<size_t>(width));
  for (int y = 0; y < height; ++y) {
    const uint8_t* bytes = buffer + static_cast<ptrdiff_t>(y) * rowBytes;
    for (Rgba& pixel : row) {
      pixel = {bytes[0], bytes[1], bytes[2], 255};
      bytes += 3;
    }
    picture->storage->WriteRow(y, row.data());
  }
  return picture;
}

Graphics* GetGraphics(Host& host, Picture* picture) {
  if (picture == nullptr || picture->storage == nullptr || !host.settings.graphics) return nullptr;
  return host.New<Graphics>(host.OwnClass("Graphics"), *picture);
}

Picture* GetMask(Host& host, Picture* picture, uint8_t create) {
  if (picture == nullptr || picture->storage == nullptr || !host.settings.masks) return nullptr;
  if (picture->mask == nullptr && create != 0) {
    const Storage& storage = *picture->storage;
    picture->mask = host.NewPicture(storage.width(), storage.height(), false);
  }
  if (picture->mask != nullptr) host.Lock(picture->mask);
  return picture->mask;
}

void ClearCache(Host&, Picture& picture) {
  ++picture.cacheClears;
  picture.cacheIsStale = false;
}

// A failed lock: an old host still wants it given back. An unknown version (NaN) counts as new.
template <class... Rest>
bool LockFailed(Host& host, Picture* picture, Rest...) {
  if (picture != nullptr && host.reportedVersion < kFirstVersionWithCleanLocks) {
    ++picture->owedUnlocks;
    picture->descriptionLockedAt = host.now.site;
  }
  return false;
}

/// An X server's pixels are copied out; whoever locks them writes none.
bool WatchesCache(const Host& host, const Picture& picture) {
  return host.settings.watchesCaches && picture.descriptionLocks == 1 &&
         picture.storage->Words(0) != nullptr;
}

bool LockAs(Host& host, Picture* picture, REALpictureDescription* description, int type) {
  if (picture == nullptr || picture->storage == nullptr ||
      !picture->storage->Lock(type, *description)) {
    return LockFailed(host, picture);
  }
  // The rest of the record is the host's to fill, too.
  std::memset(description->hostWords, 0xC5, sizeof description->hostWords);
  ++picture->descriptionLocks;
  picture->storage->Open();
  picture->descriptionLockedAt = host.now.site;
  if (WatchesCache(host, *picture)) picture->lockedPixels = picture->Describe();
  return true;
}

bool LockDescription(Host& host, Picture* picture, REALpictureDescription* description, int type) {
  if (!IsNativeType(type)) host.Misuse("unknown kind of storage");
  return LockAs(host, picture, description, type);
}

bool LockNative(Host& host, Picture* picture, REALpictureDescription* description) {
  return LockAs(host, picture, description, 0);
}

void UnlockDescription(Host& host, Picture& picture) {
  if (picture.owedUnlocks > 0) {
    --picture.owedUnlocks;
    return;
  }
  if (picture.descriptionLocks == 0) {
    // An old host that cannot lock is asked for the unlock all the same.
    const bool isOld = host.reportedVersion < kFirstVersionWithCleanLocks;
    const bool cannotLock =
        host.Missing("REALLockPictureDescription") || host.Missing("lockPictureDescription");
    if (isOld && cannotLock) return;
    host.Misuse(picture.Name() + " is not locked");
  }
  host.CheckGuards(picture);
  if (WatchesCache(host, picture) && picture.Describe() != picture.lockedPixels) {
    picture.cacheIsStale = true;
  }
  --picture.descriptionLocks;
  const std::string changed = picture.storage->Unlock();
  if (!changed.empty()) host.Misuse(picture.Name() + " came back with " + changed);
  picture.storage->Close();
}

// Source pixels from (sx, sy) on, stretched from sw x sh to w x h by nearest neighbour, laid over
// the target at (x, y); parts outside either picture are left out.
void DrawPicture(Host& host, Graphics& graphics, Picture& image, int x, int y, int w, int h, int sx,
                 int sy, int sw, int sh) {
  const Picture& target = *host.Live<Picture>(&graphics.picture);
  if (image.storage == nullptr) host.Misuse(image.Name() + " has no pixels");
  Storage& from = *image.storage;
  Storage& to = *target.storage;
  const OpenPixels openFrom(from), openTo(to);
  if (sw == kWholePicture) sw = from.width();
  if (sh == kWholePicture) sh = from.height();
  if (w < 1 || h < 1) return;

  std::vector<Rgba> source(static_cast<size_t>(from.width()));
  std::vector<Rgba> row(static_cast<size_t>(to.width()));
  for (int targetY = std::max(y, 0); targetY < std::min(y + h, to.height()); ++targetY) {
    const auto sourceY = sy + static_cast<int64_t>(targetY - y) * sh / h;
    if (sourceY < 0 || sourceY >= from.height()) continue;
    from.ReadRow(static_cast<int>(sourceY), source.data());
    to.ReadRow(targetY, row.data());
    for (int targetX = std::max(x, 0); targetX < std::min(x + w, to.width()); ++targetX) {
      const auto sourceX = sx + static_cast<int64_t>(targetX - x) * sw / w;
      if (sourceX < 0 || sourceX >= from.width()) continue;
      Rgba& pixel = row[static_cast<size_t>(targetX)];
      pixel = Over(source[static_cast<size_t>(sourceX)], pixel);
    }
    to.WriteRow(targetY, row.data());
  }
}

}  // namespace

std::span<const MethodRow> PictureMethods() {
  static const MethodRow rows[] = {
      {"Picture", "Constructor(width as integer, height as integer)",
       Wrapped<"Constructor", ConstructAlphaPicture>()},
      {"Graphics",
       "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
       "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)",
       Wrapped<"DrawPicture", DrawPicture>()},
  };
  return rows;
}

std::span<const EntryRow> PictureEntries() {
  static const EntryRow rows[] = {
      Row<"newPicture", NewOpaquePicture>(),
      Row<"REALBuildPictureFromBuffer", BuildFromBuffer>(),
      Row<"pluginPictureGraphicsGetter", GetGraphics>(),
      Row<"REALGetPictureMask", GetMask>(),
      Row<"REALPictureClearCache", ClearCache>(),
      Row<"lockPictureDescription", LockNative, LockFailed<REALpictureDescription*>>(),
      Row<"REALLockPictureDescription", LockDescription,
          LockFailed<REALpictureDescription*, int>>(),
      Row<"unlockPictureDescription", UnlockDescription>(),
  };
  return rows;
}

}  // namespace sim

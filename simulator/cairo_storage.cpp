#include "simulator/cairo_storage.h"

#include <algorithm>
#include <cstring>

#include "simulator/shared_library.h"

namespace sim {
namespace {

constexpr int kFormatArgb32 = 0;
constexpr int kFormatRgb24 = 1;
constexpr int kStatusSuccess = 0;
// What Cairo leaves in the unused byte of an RGB24 pixel is anybody's guess.
constexpr uint32_t kUnusedByte = 0x5Au << 24;

// The entries of Cairo that the host uses.
struct Cairo {
  void* (*surfaceCreate)(uint8_t* data, int format, int width, int height, int stride);
  int (*surfaceStatus)(void* surface);
  void (*surfaceFlush)(void* surface);
  void (*surfaceMarkDirty)(void* surface);
  void (*surfaceDestroy)(void* surface);
  void* (*contextCreate)(void* surface);
  void (*contextDestroy)(void* context);
  std::string problem;

  Cairo() {
    SharedLibrary library("libcairo.so.2");
    library.Find(surfaceCreate, "cairo_image_surface_create_for_data");
    library.Find(surfaceStatus, "cairo_surface_status");
    library.Find(surfaceFlush, "cairo_surface_flush");
    library.Find(surfaceMarkDirty, "cairo_surface_mark_dirty");
    library.Find(surfaceDestroy, "cairo_surface_destroy");
    library.Find(contextCreate, "cairo_create");
    library.Find(contextDestroy, "cairo_destroy");
    problem = library.problem();
  }
};

const Cairo& TheCairo() {
  static const Cairo cairo;
  return cairo;
}

uint32_t Premultiplied(uint32_t channel, uint32_t alpha) { return (channel * alpha + 127) / 255; }

// The plugin may blend a colour brighter than its alpha allows; it then shows as full.
uint8_t Straight(uint32_t channel, uint32_t alpha) {
  if (alpha == 0) return 0;
  return static_cast<uint8_t>(std::min((channel * 255 + alpha / 2) / alpha, 255u));
}

// Bytes of all rows; SIZE_MAX, which no allocation grants, when they are too many.
size_t TotalBytes(size_t strideBytes, int height) {
  const uint64_t total = uint64_t{strideBytes} * static_cast<uint32_t>(height);
  return total > 0x7FFFFFFF ? SIZE_MAX : static_cast<size_t>(total);
}

}  // namespace

std::string InstallCairoStorage() {
  const Cairo& cairo = TheCairo();
  if (cairo.problem.empty()) SetStorageFactory(StorageKind::kCairo, CairoStorage::Make);
  return cairo.problem;
}

std::unique_ptr<Storage> CairoStorage::Make(const StorageRequest& request) {
  std::unique_ptr<CairoStorage> storage(new CairoStorage(request));
  if (storage->context_ == nullptr) return nullptr;
  return storage;
}

CairoStorage::CairoStorage(const StorageRequest& request)
    : Storage(request.width, request.height, request.alpha),
      strideBytes_(size_t{4} * request.width + request.extraStrideBytes),
      memory_(request.pool, TotalBytes(strideBytes_, request.height)) {
  if (memory_.bytes() == nullptr) return;
  const Cairo& cairo = TheCairo();
  surface_ = cairo.surfaceCreate(memory_.bytes(), alpha() ? kFormatArgb32 : kFormatRgb24, width(),
                                 height(), static_cast<int>(strideBytes_));
  if (cairo.surfaceStatus(surface_) != kStatusSuccess) return;
  context_ = cairo.contextCreate(surface_);
  for (int y = 0; y < height(); ++y) {
    std::memset(Words(y) + width(), kGuardByte, strideBytes_ - size_t{4} * width());
  }
}

CairoStorage::~CairoStorage() {
  if (context_ != nullptr) TheCairo().contextDestroy(context_);
  if (surface_ != nullptr) TheCairo().surfaceDestroy(surface_);
}

bool CairoStorage::Lock(int type, REALpictureDescription& description) {
  if (type != 0 && type != kStorageCairoContext) return false;
  TheCairo().surfaceFlush(surface_);
  description.type = kStorageCairoContext;
  description.data = context_;
  description.width = width();
  description.height = height();
  return true;
}

void CairoStorage::Unlock() { TheCairo().surfaceMarkDirty(surface_); }

void CairoStorage::ReadRow(int y, Rgba* out) const {
  const uint32_t* const words = Words(y);
  for (int x = 0; x < width(); ++x) {
    const uint32_t word = words[x];
    const uint32_t pixelAlpha = alpha() ? word >> 24 : 255;
    out[x] = {Straight(word >> 16 & 0xFF, pixelAlpha), Straight(word >> 8 & 0xFF, pixelAlpha),
              Straight(word & 0xFF, pixelAlpha), static_cast<uint8_t>(pixelAlpha)};
  }
}

void CairoStorage::WriteRow(int y, const Rgba* in) {
  uint32_t* const words = Words(y);
  for (int x = 0; x < width(); ++x) {
    const Rgba pixel = in[x];
    const uint32_t pixelAlpha = alpha() ? pixel.alpha : 255;
    const uint32_t top = alpha() ? pixelAlpha << 24 : kUnusedByte;
    words[x] = top | Premultiplied(pixel.red, pixelAlpha) << 16 |
               Premultiplied(pixel.green, pixelAlpha) << 8 | Premultiplied(pixel.blue, pixelAlpha);
  }
}

bool CairoStorage::GuardsIntact() const {
  if (!memory_.FencesIntact()) return false;
  const size_t padding = strideBytes_ - size_t{4} * width();
  for (int y = 0; padding != 0 && y < height(); ++y) {
    if (!IsGuard(reinterpret_cast<const uint8_t*>(Words(y) + width()), padding)) return false;
  }
  return true;
}

}  // namespace sim

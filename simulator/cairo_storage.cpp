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
constexpr uint8_t kUnusedByte = 0x5A;

/// Cairo's own record of the rectangles that may be drawn into.
struct CairoClip {
  int status;
  struct Rectangle {
    double x, y, width, height;
  } * rectangles;
  int count;
};

// The entries of Cairo that the host uses.
struct Cairo {
  void* (*surfaceCreate)(uint8_t* data, int format, int width, int height, int stride);
  int (*surfaceStatus)(void* surface);
  void (*surfaceFlush)(void* surface);
  void (*surfaceMarkDirty)(void* surface);
  void (*surfaceDestroy)(void* surface);
  void* (*contextCreate)(void* surface);
  void (*contextDestroy)(void* context);
  unsigned (*contextReferences)(void* context);
  unsigned (*surfaceReferences)(void* surface);
  int (*contextStatus)(void* context);
  void (*contextRestore)(void* context);
  void (*contextMatrix)(void* context, double* six);
  CairoClip* (*copyClip)(void* context);
  void (*destroyClip)(CairoClip* clip);
  std::string problem;

  Cairo() {
    SharedLibrary library("libcairo.so.2", "libcairo2");
    library.Find(surfaceCreate, "cairo_image_surface_create_for_data");
    library.Find(surfaceStatus, "cairo_surface_status");
    library.Find(surfaceFlush, "cairo_surface_flush");
    library.Find(surfaceMarkDirty, "cairo_surface_mark_dirty");
    library.Find(surfaceDestroy, "cairo_surface_destroy");
    library.Find(contextCreate, "cairo_create");
    library.Find(contextDestroy, "cairo_destroy");
    library.Find(contextReferences, "cairo_get_reference_count");
    library.Find(surfaceReferences, "cairo_surface_get_reference_count");
    library.Find(contextStatus, "cairo_status");
    library.Find(contextRestore, "cairo_restore");
    library.Find(contextMatrix, "cairo_get_matrix");
    library.Find(copyClip, "cairo_copy_clip_rectangle_list");
    library.Find(destroyClip, "cairo_rectangle_list_destroy");
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
      memory_(request.pool, TotalBytes(strideBytes_, request.height)),
      unusedByte_(request.pool.Meaningless(kUnusedByte)) {
  if (memory_.bytes() == nullptr) return;
  const Cairo& cairo = TheCairo();
  surface_ = cairo.surfaceCreate(memory_.bytes(), alpha() ? kFormatArgb32 : kFormatRgb24, width(),
                                 height(), static_cast<int>(strideBytes_));
  if (cairo.surfaceStatus(surface_) != kStatusSuccess) return;
  context_ = cairo.contextCreate(surface_);
  surfaceReferences_ = cairo.surfaceReferences(surface_);
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
  ++locks_;
  description.data = context_;
  description.width = width();
  description.height = height();
  return true;
}

std::string CairoStorage::Unlock() {
  TheCairo().surfaceMarkDirty(surface_);
  return --locks_ == 0 ? ContextChange() : "";
}

std::string CairoStorage::Imbalance() const {
  // Another picture's context may hold one as its source, for as long as that picture is locked.
  return locks_ == 0 && TheCairo().surfaceReferences(surface_) != surfaceReferences_
             ? "another reference on its Cairo surface"
             : "";
}

std::string CairoStorage::ContextChange() {
  const Cairo& cairo = TheCairo();
  if (cairo.contextStatus(context_) != kStatusSuccess) return "its Cairo context in error";
  if (cairo.surfaceStatus(surface_) != kStatusSuccess) return "its Cairo surface in error";
  if (cairo.contextReferences(context_) != 1) return "another reference on its Cairo context";
  constexpr double kUnchanged[6] = {1, 0, 0, 1, 0, 0};
  double matrix[6];
  cairo.contextMatrix(context_, matrix);
  if (!std::equal(matrix, matrix + 6, kUnchanged)) return "another matrix in its Cairo context";
  CairoClip* const clip = cairo.copyClip(context_);
  const bool isWhole = clip->status == kStatusSuccess && clip->count == 1 &&
                       clip->rectangles[0].x == 0 && clip->rectangles[0].y == 0 &&
                       clip->rectangles[0].width == width() &&
                       clip->rectangles[0].height == height();
  cairo.destroyClip(clip);
  if (!isWhole) return "another clip in its Cairo context";
  // How often a context was saved is only seen by restoring it until it refuses; then it is spent.
  cairo.contextRestore(context_);
  const bool isSaved = cairo.contextStatus(context_) == kStatusSuccess;
  cairo.contextDestroy(context_);
  context_ = cairo.contextCreate(surface_);
  return isSaved ? "its Cairo context saved and not restored" : "";
}

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
    const uint32_t top = (alpha() ? pixelAlpha : unusedByte_) << 24;
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

#include "simulator/cairo_storage.h"

#include <algorithm>
#include <cstring>
#include <new>

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

// What the host uses of Cairo.
struct Cairo : SharedLibrary {
  Cairo() : SharedLibrary("libcairo.so.2", "libcairo2") {}

  void* (*surfaceCreate)(uint8_t* data, int format, int width, int height,
                         int stride) = Find("cairo_image_surface_create_for_data");
  int (*surfaceStatus)(void* surface) = Find("cairo_surface_status");
  void (*surfaceFlush)(void* surface) = Find("cairo_surface_flush");
  void (*surfaceMarkDirty)(void* surface) = Find("cairo_surface_mark_dirty");
  void (*surfaceDestroy)(void* surface) = Find("cairo_surface_destroy");
  unsigned (*surfaceReferences)(void* surface) = Find("cairo_surface_get_reference_count");
  void* (*contextCreate)(void* surface) = Find("cairo_create");
  void (*contextDestroy)(void* context) = Find("cairo_destroy");
  unsigned (*contextReferences)(void* context) = Find("cairo_get_reference_count");
  int (*contextStatus)(void* context) = Find("cairo_status");
  void (*contextRestore)(void* context) = Find("cairo_restore");
  void (*contextMatrix)(void* context, double* six) = Find("cairo_get_matrix");
  CairoClip* (*copyClip)(void* context) = Find("cairo_copy_clip_rectangle_list");
  void (*destroyClip)(CairoClip* clip) = Find("cairo_rectangle_list_destroy");
};

const Cairo& TheCairo() {
  static const Cairo cairo;
  return cairo;
}

size_t StrideBytes(const StorageRequest& request) {
  return size_t{4} * request.width + request.extraStrideBytes;
}

uint32_t Premultiplied(uint32_t channel, uint32_t alpha) { return (channel * alpha + 127) / 255; }

// The plugin may blend a colour brighter than its alpha allows; it then shows as full.
uint8_t Straight(uint32_t channel, uint32_t alpha) {
  if (alpha == 0) return 0;
  return static_cast<uint8_t>(std::min((channel * 255 + alpha / 2) / alpha, 255u));
}

}  // namespace

std::string InstallCairo() { return TheCairo().problem(); }

CairoStorage::CairoStorage(const StorageRequest& request)
    : MemoryStorage(request,
                    uint64_t{StrideBytes(request)} * static_cast<uint32_t>(request.height)),
      strideBytes_(StrideBytes(request)),
      unusedByte_(request.pool.Meaningless(kUnusedByte)) {
  const Cairo& cairo = TheCairo();
  if (!cairo.problem().empty()) throw std::bad_alloc();
  surface_ = cairo.surfaceCreate(memory(), alpha() ? kFormatArgb32 : kFormatRgb24, width(),
                                 height(), static_cast<int>(strideBytes_));
  if (cairo.surfaceStatus(surface_) != kStatusSuccess) {
    cairo.surfaceDestroy(surface_);
    throw std::bad_alloc();
  }
  context_ = cairo.contextCreate(surface_);
  surfaceReferences_ = cairo.surfaceReferences(surface_);
  for (int y = 0; y < height(); ++y) {
    std::memset(Words(y) + width(), kGuardByte, strideBytes_ - size_t{4} * width());
  }
}

CairoStorage::~CairoStorage() {
  TheCairo().contextDestroy(context_);
  TheCairo().surfaceDestroy(surface_);
}

void* CairoStorage::Lend() {
  TheCairo().surfaceFlush(surface_);
  ++locks_;
  return context_;
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
  if (!MemoryStorage::GuardsIntact()) return false;
  const size_t padding = strideBytes_ - size_t{4} * width();
  for (int y = 0; padding != 0 && y < height(); ++y) {
    if (!IsGuard(reinterpret_cast<const uint8_t*>(Words(y) + width()), padding)) return false;
  }
  return true;
}

}  // namespace sim

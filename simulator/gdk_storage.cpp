#include "simulator/gdk_storage.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "simulator/shared_library.h"

namespace sim {
namespace {

constexpr int kDepthOfParent = -1;
constexpr int kNoDither = 0;
// X addresses pixels in 16 signed bits.
constexpr int kLongestSide = 32767;
constexpr int64_t kMostPixels = 1 << 28;

// The entries of GDK that the host uses.
struct Gdk {
  int (*initCheck)(int* argc, char*** argv);
  void* (*rootWindow)();
  int (*drawableDepth)(void* drawable);
  void* (*pixmapNew)(void* drawable, int width, int height, int depth);
  void* (*gcNew)(void* drawable);
  void (*drawRgbImage)(void* drawable, void* gc, int x, int y, int width, int height, int dither,
                       const uint8_t* pixels, int stride);
  void* (*pixbufFromDrawable)(void* into, void* drawable, void* colormap, int sourceX, int sourceY,
                              int x, int y, int width, int height);
  uint8_t* (*pixbufPixels)(void* pixbuf);
  int (*pixbufStride)(void* pixbuf);
  void (*unref)(void* object);
  void (*errorTrapPush)();
  int (*errorTrapPop)();
  std::string problem;

  Gdk() {
    SharedLibrary library("libgdk-x11-2.0.so.0", "libgtk2.0-0");
    library.Find(initCheck, "gdk_init_check");
    library.Find(rootWindow, "gdk_get_default_root_window");
    library.Find(drawableDepth, "gdk_drawable_get_depth");
    library.Find(pixmapNew, "gdk_pixmap_new");
    library.Find(gcNew, "gdk_gc_new");
    library.Find(drawRgbImage, "gdk_draw_rgb_image");
    library.Find(pixbufFromDrawable, "gdk_pixbuf_get_from_drawable");
    library.Find(pixbufPixels, "gdk_pixbuf_get_pixels");
    library.Find(pixbufStride, "gdk_pixbuf_get_rowstride");
    library.Find(unref, "g_object_unref");
    library.Find(errorTrapPush, "gdk_error_trap_push");
    library.Find(errorTrapPop, "gdk_error_trap_pop");
    problem = library.problem();
    if (problem.empty()) CheckDisplay();
  }

 private:
  void CheckDisplay() {
    const char* const display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0') {
      problem = "there is no X display: start Xvfb and set DISPLAY";
    } else if (!initCheck(nullptr, nullptr)) {
      problem = std::string("the X display ") + display + " cannot be opened";
    } else if (drawableDepth(rootWindow()) < 24) {
      problem = std::string("the X display ") + display + " has fewer than 24 bits per pixel";
    }
  }
};

const Gdk& TheGdk() {
  static const Gdk gdk;
  return gdk;
}

}  // namespace

std::string InstallGdkStorage() {
  const Gdk& gdk = TheGdk();
  if (gdk.problem.empty()) SetStorageFactory(StorageKind::kGdk, GdkStorage::Make);
  return gdk.problem;
}

std::unique_ptr<Storage> GdkStorage::Make(const StorageRequest& request) {
  if (request.alpha || request.width > kLongestSide || request.height > kLongestSide ||
      int64_t{request.width} * request.height > kMostPixels) {
    return nullptr;
  }
  try {
    std::unique_ptr<GdkStorage> storage(new GdkStorage(request));
    if (storage->pixmap_ == nullptr) return nullptr;
    return storage;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

GdkStorage::GdkStorage(const StorageRequest& request)
    // What a new pixmap shows is undefined, so black is sent to it.
    : Storage(request.width, request.height, request.alpha),
      pool_(request.pool),
      copy_(size_t{3} * width() * height()) {
  const Gdk& gdk = TheGdk();
  gdk.errorTrapPush();
  void* const pixmap = gdk.pixmapNew(gdk.rootWindow(), width(), height(), kDepthOfParent);
  // The answer comes late: popping the trap waits for it.
  if (gdk.errorTrapPop() != 0) {
    gdk.unref(pixmap);
    return;
  }
  pixmap_ = pixmap;
  pool_.liveBytes += ByteCount();
  pool_.peakBytes = std::max(pool_.peakBytes, pool_.liveBytes);
  Send();
}

GdkStorage::~GdkStorage() {
  if (pixmap_ == nullptr) return;
  TheGdk().unref(pixmap_);
  pool_.liveBytes -= ByteCount();
}

bool GdkStorage::Lock(int type, REALpictureDescription& description) {
  if (type != 0 && type != kStorageGdkDrawable) return false;
  if (unsent_) Send();
  description.type = kStorageGdkDrawable;
  description.data = pixmap_;
  description.width = width();
  description.height = height();
  return true;
}

void GdkStorage::Send() const {
  const Gdk& gdk = TheGdk();
  void* const gc = gdk.gcNew(pixmap_);
  gdk.drawRgbImage(pixmap_, gc, 0, 0, width(), height(), kNoDither, copy_.data(), 3 * width());
  gdk.unref(gc);
  unsent_ = false;
  copy_.clear();
}

void GdkStorage::Fetch() const {
  const Gdk& gdk = TheGdk();
  void* const pixbuf =
      gdk.pixbufFromDrawable(nullptr, pixmap_, nullptr, 0, 0, 0, 0, width(), height());
  copy_.assign(size_t{3} * width() * height(), 0);
  if (pixbuf == nullptr) return;
  const uint8_t* row = gdk.pixbufPixels(pixbuf);
  for (int y = 0; y < height(); ++y, row += gdk.pixbufStride(pixbuf)) {
    std::copy_n(row, 3 * width(), &copy_[size_t{3} * width() * y]);
  }
  gdk.unref(pixbuf);
}

void GdkStorage::ReadRow(int y, Rgba* out) const {
  // A reader starts at the top, and shall see what the X server made of the pixels.
  if (y == 0 && unsent_) Send();
  if (copy_.empty()) Fetch();
  const uint8_t* at = &copy_[size_t{3} * width() * y];
  for (int x = 0; x < width(); ++x, at += 3) out[x] = {at[0], at[1], at[2]};
}

void GdkStorage::WriteRow(int y, const Rgba* in) {
  if (copy_.empty()) Fetch();
  uint8_t* at = &copy_[size_t{3} * width() * y];
  for (int x = 0; x < width(); ++x, at += 3) {
    at[0] = in[x].red;
    at[1] = in[x].green;
    at[2] = in[x].blue;
  }
  unsent_ = true;
}

}  // namespace sim

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

// What the host uses of GDK.
struct Gdk : SharedLibrary {
  Gdk() : SharedLibrary("libgdk-x11-2.0.so.0", "libgtk2.0-0") {
    if (problem_.empty()) CheckDisplay();
  }

  int (*initCheck)(int* argc, char*** argv) = Find("gdk_init_check");
  void* (*rootWindow)() = Find("gdk_get_default_root_window");
  int (*drawableDepth)(void* drawable) = Find("gdk_drawable_get_depth");
  void* (*pixmapNew)(void* drawable, int width, int height, int depth) = Find("gdk_pixmap_new");
  void* (*gcNew)(void* drawable) = Find("gdk_gc_new");
  void (*drawRgbImage)(void* drawable, void* gc, int x, int y, int width, int height, int dither,
                       const uint8_t* pixels, int stride) = Find("gdk_draw_rgb_image");
  void* (*pixbufFromDrawable)(void* into, void* drawable, void* colormap, int sourceX, int sourceY,
                              int x, int y, int width,
                              int height) = Find("gdk_pixbuf_get_from_drawable");
  uint8_t* (*pixbufPixels)(void* pixbuf) = Find("gdk_pixbuf_get_pixels");
  int (*pixbufStride)(void* pixbuf) = Find("gdk_pixbuf_get_rowstride");
  void (*unref)(void* object) = Find("g_object_unref");
  void (*errorTrapPush)() = Find("gdk_error_trap_push");
  int (*errorTrapPop)() = Find("gdk_error_trap_pop");

 private:
  void CheckDisplay() {
    const char* const display = std::getenv("DISPLAY");
    if (display == nullptr || *display == '\0') {
      problem_ = "there is no X display: start Xvfb and set DISPLAY";
    } else if (!initCheck(nullptr, nullptr)) {
      problem_ = std::string("the X display ") + display + " cannot be opened";
    } else if (drawableDepth(rootWindow()) < 24) {
      problem_ = std::string("the X display ") + display + " has fewer than 24 bits per pixel";
    }
  }
};

const Gdk& TheGdk() {
  static const Gdk gdk;
  return gdk;
}

}  // namespace

std::string InstallGdk() { return TheGdk().problem(); }

GdkStorage::GdkStorage(const StorageRequest& request) : Storage(request), pool_(request.pool) {
  const Gdk& gdk = TheGdk();
  if (!gdk.problem().empty() || alpha() || width() > kLongestSide || height() > kLongestSide ||
      int64_t{width()} * height() > kMostPixels) {
    throw std::bad_alloc();
  }
  // What a new pixmap shows is undefined, so black is sent to it.
  copy_.assign(size_t{3} * width() * height(), 0);
  gdk.errorTrapPush();
  pixmap_ = gdk.pixmapNew(gdk.rootWindow(), width(), height(), kDepthOfParent);
  // The answer comes late: popping the trap waits for it.
  if (gdk.errorTrapPop() != 0) {
    gdk.unref(pixmap_);
    throw std::bad_alloc();
  }
  pool_.liveBytes += ByteCount();
  pool_.peakBytes = std::max(pool_.peakBytes, pool_.liveBytes);
  Send();
}

GdkStorage::~GdkStorage() {
  TheGdk().unref(pixmap_);
  pool_.liveBytes -= ByteCount();
}

void* GdkStorage::Lend() {
  if (unsent_) Send();
  return pixmap_;
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

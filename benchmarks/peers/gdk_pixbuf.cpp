// gdk-pixbuf: whole pictures of three or four bytes a pixel, mirrored and turned by quarters.

#include "benchmarks/peers/peers.h"

namespace velbench {
namespace {

constexpr int kColorspaceRgb = 0;
constexpr int kBitsPerChannel = 8;

struct GdkPixbuf : sim::SharedLibrary {
  GdkPixbuf() : sim::SharedLibrary("libgdk_pixbuf-2.0.so.0", "libgdk-pixbuf-2.0-0") {}

  void* (*newFromData)(const uint8_t* data, int colorspace, int alpha, int bits, int width,
                       int height, int strideBytes, void* destroy,
                       void* destroyData) = Find("gdk_pixbuf_new_from_data");
  void* (*flip)(const void* source, int horizontal) = Find("gdk_pixbuf_flip");
  // In degrees, counter-clockwise.
  void* (*rotateSimple)(const void* source, int angle) = Find("gdk_pixbuf_rotate_simple");
  // Functions of the libraries that it needs are found in it, too.
  void (*unref)(void* object) = Find("g_object_unref");
};

void* Result(Work work, const void* source) {
  const GdkPixbuf& library = The<GdkPixbuf>();
  switch (work) {
    case Work::kMirror:
    case Work::kFlip:
      return library.flip(source, work == Work::kMirror);
    case Work::kQuarterLeft:
      return library.rotateSimple(source, 90);
    case Work::kHalfTurn:
      return library.rotateSimple(source, 180);
    default:
      return library.rotateSimple(source, 270);
  }
}

PeerWork Prepare(const Task& task) {
  if (task.work == Work::kRotate) return {};
  const GdkPixbuf& library = The<GdkPixbuf>();
  const std::shared_ptr<void> source(
      library.newFromData(task.pixels, kColorspaceRgb, task.bytesPerPixel == 4, kBitsPerChannel,
                          task.size.width, task.size.height, task.StrideBytes(), nullptr, nullptr),
      library.unref);
  return {[source, work = task.work] { The<GdkPixbuf>().unref(Result(work, source.get())); },
          task.inPlace ? kCopies : ""};
}

}  // namespace

Peer OpenGdkPixbuf() { return {"gdk-pixbuf", The<GdkPixbuf>().problem(), Prepare}; }

}  // namespace velbench

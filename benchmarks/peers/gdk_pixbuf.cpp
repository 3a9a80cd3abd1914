// gdk-pixbuf: whole pictures of three or four bytes a pixel, mirrored and turned by quarters.

#include "benchmarks/peers/peers.h"
#include "simulator/shared_library.h"

namespace velbench {
namespace {

constexpr int kColorspaceRgb = 0;
constexpr int kBitsPerChannel = 8;

struct GdkPixbuf {
  void* (*newFromData)(const uint8_t* data, int colorspace, int alpha, int bits, int width,
                       int height, int strideBytes, void* destroy, void* destroyData);
  void* (*flip)(const void* source, int horizontal);
  // In degrees, counter-clockwise.
  void* (*rotateSimple)(const void* source, int angle);
  void (*unref)(void* object);
  std::string problem;

  GdkPixbuf() {
    sim::SharedLibrary library("libgdk_pixbuf-2.0.so.0", "libgdk-pixbuf-2.0-0");
    library.Find(newFromData, "gdk_pixbuf_new_from_data");
    library.Find(flip, "gdk_pixbuf_flip");
    library.Find(rotateSimple, "gdk_pixbuf_rotate_simple");
    // Its functions are found through those who need it, too.
    library.Find(unref, "g_object_unref");
    problem = library.problem();
  }
};

const GdkPixbuf& TheGdkPixbuf() {
  static const GdkPixbuf gdkPixbuf;
  return gdkPixbuf;
}

void* Result(Work work, const void* source) {
  const GdkPixbuf& library = TheGdkPixbuf();
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
  const GdkPixbuf& library = TheGdkPixbuf();
  const std::shared_ptr<void> source(
      library.newFromData(task.pixels, kColorspaceRgb, task.bytesPerPixel == 4, kBitsPerChannel,
                          task.size.width, task.size.height, task.StrideBytes(), nullptr, nullptr),
      library.unref);
  return {[source, work = task.work] { TheGdkPixbuf().unref(Result(work, source.get())); },
          task.inPlace ? kCopies : ""};
}

}  // namespace

Peer OpenGdkPixbuf() { return {"gdk-pixbuf", TheGdkPixbuf().problem, Prepare}; }

}  // namespace velbench

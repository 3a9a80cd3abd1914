// pixman, which does Cairo's work on pixels: a source under a transformation, nearest pixels for
// exact turns and bilinear otherwise.

#include "benchmarks/peers/peers.h"

namespace velbench {
namespace {

enum Format : uint32_t { kArgb32 = 0x20028888, kRgb24 = 0x18020888 };
enum Filter { kNearest = 3, kBilinear = 4 };
constexpr int kOperatorSource = 1;

// From the result's pixels to the source's, as numbers with 16 bits after the point.
struct Transform {
  int32_t matrix[3][3];
};

struct Pixman : sim::SharedLibrary {
  Pixman() : sim::SharedLibrary("libpixman-1.so.0", "libpixman-1-0") {}

  void* (*createBits)(uint32_t format, int width, int height, void* bits,
                      int strideBytes) = Find("pixman_image_create_bits_no_clear");
  int (*setTransform)(void* image, const Transform* transform) = Find("pixman_image_set_transform");
  int (*setFilter)(void* image, int filter, const int32_t* parameters,
                   int count) = Find("pixman_image_set_filter");
  void (*composite)(int op, void* source, void* mask, void* target, int32_t sourceX,
                    int32_t sourceY, int32_t maskX, int32_t maskY, int32_t targetX, int32_t targetY,
                    int32_t width, int32_t height) = Find("pixman_image_composite32");
  int (*unref)(void* image) = Find("pixman_image_unref");
};

// Around the middles of both pictures: (x, y) of the result shows (a·x + b·y, c·x + d·y).
Transform Centred(const Task& task, double a, double b, double c, double d) {
  const auto fixed = [](double value) { return static_cast<int32_t>(std::lround(value * 65536)); };
  const double middleX = task.canvas.width / 2.0, middleY = task.canvas.height / 2.0;
  return {{{fixed(a), fixed(b), fixed(task.size.width / 2.0 - a * middleX - b * middleY)},
           {fixed(c), fixed(d), fixed(task.size.height / 2.0 - c * middleX - d * middleY)},
           {0, 0, fixed(1)}}};
}

Transform TransformFor(const Task& task) {
  const double cosine = std::cos(task.Radians()), sine = std::sin(task.Radians());
  switch (task.work) {
    case Work::kMirror:
      return Centred(task, -1, 0, 0, 1);
    case Work::kFlip:
      return Centred(task, 1, 0, 0, -1);
    case Work::kHalfTurn:
      return Centred(task, -1, 0, 0, -1);
    case Work::kQuarterLeft:
      return Centred(task, 0, -1, 1, 0);
    case Work::kQuarterRight:
      return Centred(task, 0, 1, -1, 0);
    default:
      return Centred(task, cosine, -sine, sine, cosine);
  }
}

PeerWork Prepare(const Task& task) {
  // Its rows are made of whole words.
  if (task.StrideBytes() % 4 != 0) return {};
  const bool rotates = task.work == Work::kRotate;
  PeerWork work = FillingNewPixels(task, [task, rotates](uint8_t* pixels) {
    const Pixman& pixman = The<Pixman>();
    const Format format = task.bytesPerPixel == 4 ? kArgb32 : kRgb24;
    const Size& canvas = task.canvas;
    void* const source = pixman.createBits(format, task.size.width, task.size.height,
                                           const_cast<uint8_t*>(task.pixels), task.StrideBytes());
    void* const target =
        pixman.createBits(format, canvas.width, canvas.height, pixels, task.CanvasStrideBytes());
    const Transform transform = TransformFor(task);
    pixman.setTransform(source, &transform);
    pixman.setFilter(source, rotates ? kBilinear : kNearest, nullptr, 0);
    pixman.composite(kOperatorSource, source, nullptr, target, 0, 0, 0, 0, 0, 0, canvas.width,
                     canvas.height);
    pixman.unref(source);
    pixman.unref(target);
  });
  if (rotates) work.note = "bilinear in one pass, no background";
  return work;
}

}  // namespace

Peer OpenPixman() { return {"pixman", The<Pixman>().problem(), Prepare}; }

}  // namespace velbench

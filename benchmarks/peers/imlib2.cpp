// Imlib2: four-byte pictures that are mirrored and turned by quarters in place, and turned by any
// angle into a new one.

#include <cstring>

#include "benchmarks/peers/peers.h"

namespace velbench {
namespace {

// Quarters, clockwise.
enum Orientation { kQuarter = 1, kHalf = 2, kThreeQuarters = 3 };

struct Imlib2 : sim::SharedLibrary {
  Imlib2() : sim::SharedLibrary("libImlib2.so.1", "libimlib2") {}

  void* (*createImage)(int width, int height) = Find("imlib_create_image");
  uint32_t* (*getData)() = Find("imlib_image_get_data");
  void (*putBackData)(uint32_t* data) = Find("imlib_image_put_back_data");
  void (*setImage)(void* image) = Find("imlib_context_set_image");
  void (*freeImage)() = Find("imlib_free_image");
  void (*flipHorizontal)() = Find("imlib_image_flip_horizontal");
  void (*flipVertical)() = Find("imlib_image_flip_vertical");
  void (*orientate)(int orientation) = Find("imlib_image_orientate");
  void (*setAlpha)(char alpha) = Find("imlib_image_set_has_alpha");
  // In radians, clockwise.
  void* (*createRotated)(double angle) = Find("imlib_create_rotated_image");
};

// Work is done on the library's current image.
std::shared_ptr<void> NewImage(const Task& task) {
  const Imlib2& library = The<Imlib2>();
  const auto release = [](void* image) {
    The<Imlib2>().setImage(image);
    The<Imlib2>().freeImage();
  };
  std::shared_ptr<void> image(library.createImage(task.size.width, task.size.height), release);
  library.setImage(image.get());
  library.setAlpha(1);
  uint32_t* const data = library.getData();
  std::memcpy(data, task.pixels, task.ByteCount());
  library.putBackData(data);
  return image;
}

void DoWork(Work work, double radians) {
  const Imlib2& library = The<Imlib2>();
  switch (work) {
    case Work::kMirror:
      return library.flipHorizontal();
    case Work::kFlip:
      return library.flipVertical();
    case Work::kHalfTurn:
      return library.orientate(kHalf);
    case Work::kQuarterLeft:
      return library.orientate(kThreeQuarters);
    case Work::kQuarterRight:
      return library.orientate(kQuarter);
    default:
      library.setImage(library.createRotated(-radians));
      library.freeImage();
  }
}

PeerWork Prepare(const Task& task) {
  if (task.bytesPerPixel != 4) return {};
  const char* note = task.inPlace ? "" : kInPlace;
  if (task.work == Work::kRotate) note = "bilinear in one pass, onto a larger square canvas";
  return {[image = NewImage(task), work = task.work, radians = task.Radians()] {
            The<Imlib2>().setImage(image.get());
            DoWork(work, radians);
          },
          note};
}

}  // namespace

Peer OpenImlib2() { return {"Imlib2", The<Imlib2>().problem(), Prepare}; }

}  // namespace velbench

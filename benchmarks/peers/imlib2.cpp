// Imlib2: four-byte pictures that are mirrored and turned by quarters in place, and turned by any
// angle into a new one.

#include <cstring>

#include "benchmarks/peers/peers.h"
#include "simulator/shared_library.h"

namespace velbench {
namespace {

// Quarters, clockwise.
enum Orientation { kQuarter = 1, kHalf = 2, kThreeQuarters = 3 };

struct Imlib2 {
  void* (*createImage)(int width, int height);
  uint32_t* (*getData)();
  void (*putBackData)(uint32_t* data);
  void (*setImage)(void* image);
  void (*freeImage)();
  void (*flipHorizontal)();
  void (*flipVertical)();
  void (*orientate)(int orientation);
  void (*setAlpha)(char alpha);
  // In radians, clockwise.
  void* (*createRotated)(double angle);
  std::string problem;

  Imlib2() {
    sim::SharedLibrary library("libImlib2.so.1", "libimlib2");
    library.Find(createImage, "imlib_create_image");
    library.Find(getData, "imlib_image_get_data");
    library.Find(putBackData, "imlib_image_put_back_data");
    library.Find(setImage, "imlib_context_set_image");
    library.Find(freeImage, "imlib_free_image");
    library.Find(flipHorizontal, "imlib_image_flip_horizontal");
    library.Find(flipVertical, "imlib_image_flip_vertical");
    library.Find(orientate, "imlib_image_orientate");
    library.Find(setAlpha, "imlib_image_set_has_alpha");
    library.Find(createRotated, "imlib_create_rotated_image");
    problem = library.problem();
  }
};

const Imlib2& TheImlib2() {
  static const Imlib2 imlib2;
  return imlib2;
}

// Work is done on the library's current image.
std::shared_ptr<void> NewImage(const Task& task) {
  const Imlib2& library = TheImlib2();
  const auto release = [](void* image) {
    TheImlib2().setImage(image);
    TheImlib2().freeImage();
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
  const Imlib2& library = TheImlib2();
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
            TheImlib2().setImage(image.get());
            DoWork(work, radians);
          },
          note};
}

}  // namespace

Peer OpenImlib2() { return {"Imlib2", TheImlib2().problem, Prepare}; }

}  // namespace velbench

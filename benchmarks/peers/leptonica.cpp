// leptonica: four-byte pictures, in place or anew.

#include <cstring>

#include "benchmarks/peers/peers.h"

namespace velbench {
namespace {

enum Direction { kCounterClockwise = -1, kClockwise = 1 };
constexpr int kAreaMap = 1;
constexpr int kBringInWhite = 1;

struct Leptonica : sim::SharedLibrary {
  Leptonica() : sim::SharedLibrary("liblept.so.5", "liblept5") {}

  // Into the first picture: the second itself, or a new one when null.
  using Move = void*(void* target, void* source);
  void* (*create)(int width, int height, int depth) = Find("pixCreate");
  uint32_t* (*data)(void* picture) = Find("pixGetData");
  void (*destroy)(void** picture) = Find("pixDestroy");
  Move* flipLeftRight = Find("pixFlipLR");
  Move* flipTopBottom = Find("pixFlipTB");
  Move* rotate180 = Find("pixRotate180");
  void* (*rotate90)(void* source, int direction) = Find("pixRotate90");
  // In radians, clockwise; on a canvas large enough, given the original's size.
  void* (*rotate)(void* source, float angle, int type, int background, int width,
                  int height) = Find("pixRotate");
};

std::shared_ptr<void> NewPicture(const Task& task) {
  const Leptonica& library = The<Leptonica>();
  std::shared_ptr<void> picture(library.create(task.size.width, task.size.height, 32),
                                [](void* released) { The<Leptonica>().destroy(&released); });
  std::memcpy(library.data(picture.get()), task.pixels, task.ByteCount());
  return picture;
}

void* Result(const Task& task, void* source) {
  const Leptonica& library = The<Leptonica>();
  void* const target = task.inPlace ? source : nullptr;
  switch (task.work) {
    case Work::kMirror:
      return library.flipLeftRight(target, source);
    case Work::kFlip:
      return library.flipTopBottom(target, source);
    case Work::kHalfTurn:
      return library.rotate180(target, source);
    case Work::kQuarterLeft:
      return library.rotate90(source, kCounterClockwise);
    case Work::kQuarterRight:
      return library.rotate90(source, kClockwise);
    default:
      return library.rotate(source, static_cast<float>(-task.Radians()), kAreaMap, kBringInWhite,
                            task.size.width, task.size.height);
  }
}

PeerWork Prepare(const Task& task) {
  if (task.bytesPerPixel != 4) return {};
  return {[task, source = NewPicture(task)] {
            void* result = Result(task, source.get());
            if (!task.inPlace) The<Leptonica>().destroy(&result);
          },
          task.work == Work::kRotate ? "area mapping in one pass, without alpha" : ""};
}

}  // namespace

Peer OpenLeptonica() { return {"leptonica", The<Leptonica>().problem(), Prepare}; }

}  // namespace velbench

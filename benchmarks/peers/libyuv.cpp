// libyuv: vectorised rows for video; a negative height turns a picture upside down on the way.

#include "benchmarks/peers/peers.h"
#include "simulator/shared_library.h"

namespace velbench {
namespace {

// In degrees, clockwise.
enum Mode { kQuarter = 90, kHalf = 180, kThreeQuarters = 270 };

struct Libyuv {
  using Copy = int(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride,
                   int width, int height);
  Copy* copy;
  Copy* mirror;
  Copy* mirrorThreeBytes;
  int (*rotate)(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride,
                int width, int height, Mode mode);
  std::string problem;

  Libyuv() {
    sim::SharedLibrary library("libyuv.so.0", "libyuv0");
    library.Find(copy, "ARGBCopy");
    library.Find(mirror, "ARGBMirror");
    library.Find(mirrorThreeBytes, "RGB24Mirror");
    library.Find(rotate, "ARGBRotate");
    problem = library.problem();
  }
};

const Libyuv& TheLibyuv() {
  static const Libyuv libyuv;
  return libyuv;
}

PeerWork Rows(const Task& task, Libyuv::Copy* copy) {
  const int height = task.work == Work::kMirror ? task.size.height : -task.size.height;
  return FillingNewPixels(task, [=](uint8_t* target) {
    copy(task.pixels, task.StrideBytes(), target, task.StrideBytes(), task.size.width, height);
  });
}

PeerWork Turn(const Task& task, Mode mode) {
  return FillingNewPixels(task, [=](uint8_t* target) {
    TheLibyuv().rotate(task.pixels, task.StrideBytes(), target, task.canvas.width * 4,
                       task.size.width, task.size.height, mode);
  });
}

PeerWork Prepare(const Task& task) {
  const Libyuv& library = TheLibyuv();
  const bool wide = task.bytesPerPixel == 4;
  switch (task.work) {
    case Work::kMirror:
      return Rows(task, wide ? library.mirror : library.mirrorThreeBytes);
    case Work::kFlip:
      return wide ? Rows(task, library.copy) : PeerWork{};
    case Work::kHalfTurn:
      return wide ? Turn(task, kHalf) : Rows(task, library.mirrorThreeBytes);
    case Work::kQuarterLeft:
      return wide ? Turn(task, kThreeQuarters) : PeerWork{};
    case Work::kQuarterRight:
      return wide ? Turn(task, kQuarter) : PeerWork{};
    default:
      return {};
  }
}

}  // namespace

Peer OpenLibyuv() { return {"libyuv", TheLibyuv().problem, Prepare}; }

}  // namespace velbench

// libyuv: vectorised rows for video; a negative height turns a picture upside down on the way.

#include "benchmarks/peers/peers.h"

namespace velbench {
namespace {

// In degrees, clockwise.
enum Mode { kQuarter = 90, kHalf = 180, kThreeQuarters = 270 };

struct Libyuv : sim::SharedLibrary {
  Libyuv() : sim::SharedLibrary("libyuv.so.0", "libyuv0") {}

  using Copy = int(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride,
                   int width, int height);
  Copy* copy = Find("ARGBCopy");
  Copy* mirror = Find("ARGBMirror");
  Copy* mirrorThreeBytes = Find("RGB24Mirror");
  int (*rotate)(const uint8_t* source, int sourceStride, uint8_t* target, int targetStride,
                int width, int height, Mode mode) = Find("ARGBRotate");
};

PeerWork Rows(const Task& task, Libyuv::Copy* copy) {
  const int height = task.work == Work::kMirror ? task.size.height : -task.size.height;
  return FillingNewPixels(task, [=](uint8_t* target) {
    copy(task.pixels, task.StrideBytes(), target, task.StrideBytes(), task.size.width, height);
  });
}

PeerWork Turn(const Task& task, Mode mode) {
  return FillingNewPixels(task, [=](uint8_t* target) {
    The<Libyuv>().rotate(task.pixels, task.StrideBytes(), target, task.canvas.width * 4,
                         task.size.width, task.size.height, mode);
  });
}

PeerWork Prepare(const Task& task) {
  const Libyuv& library = The<Libyuv>();
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

Peer OpenLibyuv() { return {"libyuv", The<Libyuv>().problem(), Prepare}; }

}  // namespace velbench

// SDL2_gfx: turns of four-byte surfaces.

#include "benchmarks/peers/peers.h"

namespace velbench {
namespace {

struct Sdl2Gfx : sim::SharedLibrary {
  Sdl2Gfx() : sim::SharedLibrary("libSDL2_gfx-1.0.so.0", "libsdl2-gfx-1.0-0") {}

  // The first two are of the library beneath.
  void* (*createSurfaceFrom)(const void* pixels, int width, int height, int depth, int strideBytes,
                             uint32_t red, uint32_t green, uint32_t blue,
                             uint32_t alpha) = Find("SDL_CreateRGBSurfaceFrom");
  void (*freeSurface)(void* surface) = Find("SDL_FreeSurface");
  void* (*rotateQuarters)(void* surface, int clockwise) = Find("rotateSurface90Degrees");
  // In degrees, counter-clockwise.
  void* (*rotozoom)(void* surface, double angle, double zoom, int smooth) = Find("rotozoomSurface");
};

void* Result(const Task& task, void* source) {
  const Sdl2Gfx& library = The<Sdl2Gfx>();
  switch (task.work) {
    case Work::kQuarterRight:
      return library.rotateQuarters(source, 1);
    case Work::kHalfTurn:
      return library.rotateQuarters(source, 2);
    case Work::kQuarterLeft:
      return library.rotateQuarters(source, 3);
    default:
      return library.rotozoom(source, task.angleDegrees, 1, 1);
  }
}

PeerWork Prepare(const Task& task) {
  if (task.bytesPerPixel != 4 || task.work == Work::kMirror || task.work == Work::kFlip) return {};
  const Sdl2Gfx& library = The<Sdl2Gfx>();
  const std::shared_ptr<void> source(
      library.createSurfaceFrom(task.pixels, task.size.width, task.size.height, 32,
                                task.StrideBytes(), 0xFF0000, 0xFF00, 0xFF, 0xFF000000),
      library.freeSurface);
  const char* note = task.inPlace ? kCopies : "";
  if (task.work == Work::kRotate) note = "bilinear in one pass, no background";
  return {[task, source] { The<Sdl2Gfx>().freeSurface(Result(task, source.get())); }, note};
}

}  // namespace

Peer OpenSdl2Gfx() { return {"SDL2_gfx", The<Sdl2Gfx>().problem(), Prepare}; }

}  // namespace velbench

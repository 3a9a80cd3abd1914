// SDL2_gfx: turns of four-byte surfaces.

#include "benchmarks/peers/peers.h"
#include "simulator/shared_library.h"

namespace velbench {
namespace {

struct Sdl2Gfx {
  void* (*createSurfaceFrom)(const void* pixels, int width, int height, int depth, int strideBytes,
                             uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha);
  void (*freeSurface)(void* surface);
  void* (*rotateQuarters)(void* surface, int clockwise);
  // In degrees, counter-clockwise.
  void* (*rotozoom)(void* surface, double angle, double zoom, int smooth);
  std::string problem;

  Sdl2Gfx() {
    sim::SharedLibrary library("libSDL2_gfx-1.0.so.0", "libsdl2-gfx-1.0-0");
    // The first two are of the library beneath.
    library.Find(createSurfaceFrom, "SDL_CreateRGBSurfaceFrom");
    library.Find(freeSurface, "SDL_FreeSurface");
    library.Find(rotateQuarters, "rotateSurface90Degrees");
    library.Find(rotozoom, "rotozoomSurface");
    problem = library.problem();
  }
};

const Sdl2Gfx& TheSdl2Gfx() {
  static const Sdl2Gfx sdl2Gfx;
  return sdl2Gfx;
}

void* Result(const Task& task, void* source) {
  const Sdl2Gfx& library = TheSdl2Gfx();
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
  const Sdl2Gfx& library = TheSdl2Gfx();
  const std::shared_ptr<void> source(
      library.createSurfaceFrom(task.pixels, task.size.width, task.size.height, 32,
                                task.StrideBytes(), 0xFF0000, 0xFF00, 0xFF, 0xFF000000),
      library.freeSurface);
  const char* note = task.inPlace ? kCopies : "";
  if (task.work == Work::kRotate) note = "bilinear in one pass, no background";
  return {[task, source] { TheSdl2Gfx().freeSurface(Result(task, source.get())); }, note};
}

}  // namespace

Peer OpenSdl2Gfx() { return {"SDL2_gfx", TheSdl2Gfx().problem, Prepare}; }

}  // namespace velbench

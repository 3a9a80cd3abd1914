#pragma once

// The transforms once more, as plainly as they can be said: pictures are arrays of stored words,
// pixels go through four small formats, and each method follows its definition. Shares no code with
// the plugin.

#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/host.h"
#include "tests/transforms/rules.h"

namespace model {

enum class Format { kConsole, kBytes, kArgb, kRgb };

/// How a storage keeps its pixels.
Format FormatOf(sim::StorageKind kind, bool alpha);

/// How a host answers when it is asked for a picture.
struct Canvas {
  Canvas(Format canvasFormat, Size canvasSurplus = {}, uint32_t canvasBlank = 0)
      : format(canvasFormat), surplus(canvasSurplus), blank(canvasBlank) {}
  Format format;
  /// Columns and rows beyond those asked for.
  Size surplus;
  /// What all its pixels are at first.
  uint32_t blank;
};

struct Raster {
  Raster() = default;
  Raster(const Canvas& canvas, Size size)
      : format(canvas.format),
        width(size.width + canvas.surplus.width),
        height(size.height + canvas.surplus.height),
        words(static_cast<size_t>(width) * static_cast<size_t>(height), canvas.blank) {}
  /// The picture's stored pixels, bit by bit (three-byte pixels as red, green, blue from bit 0 on).
  static Raster Of(const sim::Picture& picture);

  Size size() const { return {width, height}; }
  Channels Load(int x, int y) const;
  void Store(int x, int y, const Channels& channels);
  uint32_t& Word(int x, int y) { return words[static_cast<size_t>(y * width + x)]; }
  uint32_t Word(int x, int y) const { return words[static_cast<size_t>(y * width + x)]; }

  friend bool operator==(const Raster&, const Raster&) = default;

  Format format = Format::kConsole;
  int width = 0;
  int height = 0;
  std::vector<uint32_t> words;
};

/// Rows that stay whole and keep their format move bit by bit.
Raster Moved(const Raster& source, const Canvas& canvas, const Move& move);
/// The same with stored words kept as they are.
Raster MovedInPlace(const Raster& source, const Move& move);

/// The methods that move pixels, into new pictures and in place.
struct MoveMethod {
  const char* name;
  Move move;
};
inline constexpr MoveMethod kMoves[] = {{"MirrorVel", kTurns[2]},    {"HMirrorVel", kFlipColumns},
                                        {"VMirrorVel", kFlipRows},   {"Rotate90Vel", kTurns[1]},
                                        {"Rotate180Vel", kTurns[2]}, {"Rotate270Vel", kTurns[3]}};
inline constexpr MoveMethod kMovesInPlace[] = {{"MirrorPictureVel", kTurns[2]},
                                               {"HMirrorPictureVel", kFlipColumns},
                                               {"VMirrorPictureVel", kFlipRows}};

/// How many quarter turns (0 to 3, counter-clockwise) an angle is, if it is just that.
std::optional<int> QuarterTurnsOf(double angle);

/// A rotation, with the sizes of all pictures that are asked for it, in order.
struct Rotation {
  Raster result;
  std::vector<Size> sizes;
};
/// By any finite angle; 0 degrees are kTurns[0].
Rotation Rotated(const Raster& source, const Canvas& canvas, double angle, uint32_t background);

}  // namespace model

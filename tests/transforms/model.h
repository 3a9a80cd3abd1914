#pragma once

// The transforms once more, as plainly as they can be said: pictures are arrays of stored words,
// pixels go through four small formats, and each method is a loop over its definition. Shares no
// code with the plugin.

#include <array>
#include <cstdint>
#include <vector>

#include "simulator/host.h"

namespace model {

enum class Format { kConsole, kBytes, kArgb, kRgb };

/// How a storage keeps its pixels.
Format FormatOf(sim::StorageKind kind, bool alpha);

/// Red, green, blue and alpha, 0 to 255 each.
using Channels = std::array<int, 4>;

struct Raster {
  Raster() = default;
  Raster(Format rasterFormat, int rasterWidth, int rasterHeight)
      : format(rasterFormat),
        width(rasterWidth),
        height(rasterHeight),
        words(static_cast<size_t>(rasterWidth) * static_cast<size_t>(rasterHeight)) {}
  /// The picture's stored pixels, bit by bit (three-byte pixels as red, green, blue from bit 0 on).
  static Raster Of(const sim::Picture& picture);

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

/// Column x goes to width - 1 - x where `columns`, row y to height - 1 - y where `rows`. Rows that
/// stay whole and keep their format move bit by bit.
Raster Mirrored(const Raster& source, Format format, bool columns, bool rows);
/// The same with stored words kept as they are.
Raster MirroredInPlace(const Raster& source, bool columns, bool rows);
/// 1 to 3 quarter turns counter-clockwise.
Raster Turned(const Raster& source, Format format, int quarterTurns);

struct Size {
  int width;
  int height;
  friend bool operator==(const Size&, const Size&) = default;
};

/// A rotation by shears, with the sizes of all pictures that are made for it, in order (a quarter
/// turn's first).
struct Rotation {
  Raster result;
  std::vector<Size> sizes;
};
/// For angles that are no multiple of 90 degrees.
Rotation Rotated(const Raster& source, Format format, double angle, uint32_t background);

/// One line sheared: `length` pixels from `source(i)`, written to 0 <= x < `room` by `write(x, …)`.
template <class Source, class Write>
void Skew(int length, int room, int k, double f, const Channels& background, Source source,
          Write write) {
  for (int x = 0; x < room; ++x) write(x, background);
  const auto part = [f](const Channels& pixel) {
    std::array<double, 4> parts;
    for (size_t c = 0; c < 4; ++c) parts[c] = pixel[c] * f;
    return parts;
  };
  std::array<double, 4> left = part(background);
  for (int i = 0; i <= length; ++i) {
    const Channels current = i < length ? source(i) : background;
    const std::array<double, 4> parts = part(current);
    Channels blended;
    for (size_t c = 0; c < 4; ++c) {
      blended[c] = current[c] - static_cast<int>(parts[c] - left[c]);
    }
    const int64_t x = int64_t{i} + k;
    if (x >= 0 && x < room) write(static_cast<int>(x), blended);
    left = parts;
  }
}

}  // namespace model

#pragma once

// What the transforms do to single pixels, once more and as plainly as it can be said.

#include <array>
#include <cstddef>
#include <cstdint>

namespace model {

/// Red, green, blue and alpha, 0 to 255 each.
using Channels = std::array<int, 4>;

struct Size {
  int width;
  int height;
  friend bool operator==(const Size&, const Size&) = default;
};

/// A move of all pixels: the sides are swapped first, then columns and rows flipped.
struct Move {
  bool swapsSides, flipsColumns, flipsRows;

  Size Of(Size size) const { return swapsSides ? Size{size.height, size.width} : size; }
  /// Calls visit(x, y, x of the target, y of the target) for each pixel of a picture.
  template <class Visit>
  void ForEachPixel(Size size, Visit visit) const {
    const auto [width, height] = Of(size);
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x) {
        const int toX = swapsSides ? y : x, toY = swapsSides ? x : y;
        visit(x, y, flipsColumns ? width - 1 - toX : toX, flipsRows ? height - 1 - toY : toY);
      }
    }
  }
  friend bool operator==(const Move&, const Move&) = default;
};
constexpr Move kCopy{}, kFlipColumns{false, true, false}, kFlipRows{false, false, true};
/// 0 to 3 quarter turns counter-clockwise.
constexpr Move kTurns[] = {kCopy, {true, false, true}, {false, true, true}, {true, true, false}};

/// One line sheared: `length` pixels from `source(i)`, written to 0 <= x < `room` by `write(x, …)`.
template <class Source, class Write>
void Skew(int length, int room, int k, double f, const Channels& background, Source source,
          Write write) {
  for (int x = 0; x < room; ++x) write(x, background);
  Channels left = background;
  for (int i = 0; i <= length; ++i) {
    const Channels current = i < length ? source(i) : background;
    Channels blended;
    for (size_t c = 0; c < 4; ++c) {
      blended[c] = current[c] - static_cast<int>(current[c] * f - left[c] * f);
    }
    const int64_t x = int64_t{i} + k;
    if (x >= 0 && x < room) write(static_cast<int>(x), blended);
    left = current;
  }
}

}  // namespace model

#pragma once

// Images as tests and tools see them: straight (not premultiplied) red, green, blue and alpha, rows
// top to bottom. Storage converts between this and what a host picture really holds.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace sim {

struct Rgba {
  uint8_t red = 0;
  uint8_t green = 0;
  uint8_t blue = 0;
  uint8_t alpha = 255;

  friend bool operator==(const Rgba&, const Rgba&) = default;
};

struct Image {
  Image() = default;
  Image(int imageWidth, int imageHeight, Rgba fill = {})
      : width(imageWidth),
        height(imageHeight),
        pixels(static_cast<size_t>(imageWidth) * static_cast<size_t>(imageHeight), fill) {}

  Rgba* Row(int y) { return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width); }
  const Rgba* Row(int y) const {
    return pixels.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
  }
  Rgba& At(int x, int y) { return Row(y)[x]; }
  const Rgba& At(int x, int y) const { return Row(y)[x]; }

  friend bool operator==(const Image&, const Image&) = default;

  int width = 0;
  int height = 0;
  std::vector<Rgba> pixels;
};

/// Pixels that differ, with every channel and alpha in use.
Image PatternImage(int width, int height);
/// All pixels as one number, with the size: "5 x 3 pixels 89abcdef".
std::string Digest(const Image& image);

/// `source` laid over `target`, straight alpha, each channel rounded to nearest. An opaque source
/// replaces the target, an invisible one leaves it. This is how the host draws pictures.
Rgba Over(Rgba source, Rgba target);

}  // namespace sim

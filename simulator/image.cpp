#include "simulator/image.h"

#include <cstdio>

namespace sim {

Image PatternImage(int width, int height) {
  Image image(width, height);
  uint8_t n = 7;
  for (Rgba& pixel : image.pixels) {
    pixel = {n, static_cast<uint8_t>(n * 3), static_cast<uint8_t>(200 - n),
             static_cast<uint8_t>(255 - n)};
    n = static_cast<uint8_t>(n + 13);
  }
  return image;
}

std::string Digest(const Image& image) {
  uint32_t sum = 0;
  for (const Rgba& pixel : image.pixels) {
    for (const uint8_t channel : {pixel.red, pixel.green, pixel.blue, pixel.alpha}) {
      sum = (sum ^ channel) * 0x01000193U;
    }
  }
  char text[64];
  std::snprintf(text, sizeof text, "%d x %d pixels %08x", image.width, image.height, sum);
  return text;
}

Rgba Over(Rgba source, Rgba target) {
  if (source.alpha == 255) return source;
  if (source.alpha == 0) return target;
  // Shares of the two colours in the result, in units of 1/(255 * 255).
  const uint32_t sourceShare = source.alpha * 255U;
  const uint32_t targetShare = target.alpha * (255U - source.alpha);
  const uint32_t whole = sourceShare + targetShare;
  const auto mix = [&](uint8_t over, uint8_t under) {
    return static_cast<uint8_t>((over * sourceShare + under * targetShare + whole / 2) / whole);
  };
  return {mix(source.red, target.red), mix(source.green, target.green),
          mix(source.blue, target.blue), static_cast<uint8_t>((whole + 127) / 255)};
}

}  // namespace sim

#include <cstdlib>
#include <memory>

#include "imaging/codecs.h"

#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#define STB_IMAGE_STATIC
#ifndef __clang_analyzer__  // The decoder's own code is not ours to analyse.
#define STB_IMAGE_IMPLEMENTATION
#endif
#include <stb/stb_image.h>

namespace imaging {
namespace {

uint32_t Number(std::string_view file, size_t at) {
  uint32_t number = 0;
  if (at + sizeof number <= file.size()) std::memcpy(&number, file.data() + at, sizeof number);
  return number;
}

// The decoder would not mind an early end.
bool IsWhole(std::string_view file) {
  const bool isShort = Number(file, 14) == 12;
  const uint64_t width = Number(file, 18) & (isShort ? 0xFFFF : ~0u);
  // Negative where the first row comes first.
  const int64_t height =
      isShort ? int64_t{Number(file, 18) >> 16} : static_cast<int>(Number(file, 22));
  const uint64_t bits = Number(file, isShort ? 24 : 28) & 0xFFFF;
  return file.size() >= 26 && width < 1 << 24 &&
         Number(file, 10) + (width * bits + 31) / 32 * 4 * std::abs(height) <= file.size();
}

}  // namespace

Image DecodeBmp(std::string_view file) {
  if (!IsWhole(file)) throw CodecError("it ends early");
  int width = 0, height = 0, channels = 0;
  const std::unique_ptr<stbi_uc, decltype(&std::free)> pixels(
      stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(file.data()),
                            static_cast<int>(file.size()), &width, &height, &channels, 4),
      std::free);
  if (!pixels) {
    const std::string reason = stbi_failure_reason();
    if (reason == "too large" || reason == "outofmem") throw TooLarge();
    throw CodecError(reason);
  }
  CheckSize(width, height);
  Image image(width, height);
  image.hasAlpha = channels == 4;
  std::memcpy(image.pixels.data(), pixels.get(), image.pixels.size() * sizeof(sim::Rgba));
  const uint32_t headerBytes = Number(file, 14), x = Number(file, 38), y = Number(file, 42);
  if (headerBytes >= 40 && x != 0 && y != 0) image.metadata.density = {DensityUnit::kMetre, x, y};
  return image;
}

std::string EncodeBmp(Image& image) {
  const Density density = image.metadata.density.PerMetre();
  const bool known = density.unit == DensityUnit::kMetre;
  image.metadata = {};
  if (known) image.metadata.density = density;
  const uint32_t width = image.width, height = image.height;
  const uint32_t rowBytes = (3 * width + 3) / 4 * 4;
  constexpr uint32_t kHeaderBytes = 40, kStart = 14 + kHeaderBytes,
                     kOnePlaneOf24Bits = 1 | 24 << 16;
  const uint32_t header[] = {kStart + rowBytes * height,
                             0,
                             kStart,
                             kHeaderBytes,
                             width,
                             height,
                             kOnePlaneOf24Bits,
                             0,
                             rowBytes * height,
                             known ? density.x : 0,
                             known ? density.y : 0,
                             0,
                             0};
  std::string bytes(kStart + size_t{rowBytes} * height, '\0');
  bytes.replace(0, 2, "BM");
  std::memcpy(&bytes[2], header, sizeof header);
  for (uint32_t y = 0; y < height; ++y) {
    auto* to = &bytes[kStart + rowBytes * (height - 1 - y)];
    for (uint32_t x = 0; x < width; ++x) {
      const sim::Rgba& pixel = image.At(static_cast<int>(x), static_cast<int>(y));
      for (const uint8_t channel : {pixel.blue, pixel.green, pixel.red}) {
        *to++ = static_cast<char>(channel);
      }
    }
  }
  return bytes;
}

}  // namespace imaging

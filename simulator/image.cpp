#include "simulator/image.h"

namespace sim {

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

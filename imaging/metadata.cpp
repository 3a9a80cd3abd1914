#include "imaging/metadata.h"

#include <cmath>

namespace imaging {
namespace {

constexpr size_t kEntryBytes = 12;

// `count` bytes in the byte order of the structure; 0 beyond its end.
uint32_t Number(std::string_view exif, size_t at, size_t count) {
  if (at > exif.size() || count > exif.size() - at) return 0;
  uint32_t value = 0;
  for (size_t i = 0; i < count; ++i) {
    value = value << 8 | static_cast<uint8_t>(exif[exif[0] == 'M' ? at + i : at + count - 1 - i]);
  }
  return value;
}

// Where the entries of the first directory begin.
size_t FirstEntry(std::string_view exif) { return Number(exif, 4, 4) + 2; }

size_t EntryCount(std::string_view exif) { return Number(exif, FirstEntry(exif) - 2, 2); }

// Where the orientation is noted; 0 when it is not.
size_t OrientationAt(std::string_view exif) {
  constexpr uint32_t kOrientation = 0x0112, kShort = 3;
  const size_t first = FirstEntry(exif), count = EntryCount(exif);
  for (size_t i = 0, at = first; i < count; ++i, at += kEntryBytes) {
    const bool isOrientation =
        Number(exif, at, 2) == kOrientation && Number(exif, at + 2, 2) == kShort;
    if (isOrientation && Number(exif, at + 8, 2) != 0) return at + 8;
  }
  return 0;
}

}  // namespace

Density Density::PerMetre() const {
  if (unit != DensityUnit::kInch) return *this;
  constexpr double kInch = 0.0254;
  return {DensityUnit::kMetre, static_cast<uint32_t>(std::lround(x / kInch)),
          static_cast<uint32_t>(std::lround(y / kInch))};
}

int Orientation(std::string_view exif) {
  const uint32_t orientation = Number(exif, OrientationAt(exif), 2);
  return orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 1;
}

void NoteUpright(std::string& exif) {
  const size_t at = OrientationAt(exif);
  if (at != 0)
    exif.replace(at, 2, exif[0] == 'M' ? std::string_view("\0\1", 2) : std::string_view("\1\0", 2));
}

void DropPreview(std::string& exif) {
  // The second directory, which is the preview's, follows the first.
  const size_t link = FirstEntry(exif) + kEntryBytes * EntryCount(exif);
  if (Number(exif, link, 4) != 0) exif.replace(link, 4, 4, '\0');
}

}  // namespace imaging

#pragma once

// What a picture file says beside its pixels, and what travels from file to file with them.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace imaging {

enum class DensityUnit { kNone, kAspect, kInch, kMetre };

/// Pixels per unit; without a unit only their ratio counts.
struct Density {
  DensityUnit unit = DensityUnit::kNone;
  uint32_t x = 0, y = 0;

  Density PerMetre() const;
};

/// How a JPEG file was coded, so that it can be coded alike once more.
struct JpegCoding {
  struct Component {
    int table, horizontal, vertical;
  };
  std::vector<Component> components;  ///< one (grey) or three; none when not read from such a file
  std::array<std::vector<unsigned>, 4> tables;  ///< of quantisation
  bool progressive = false;
};

struct Metadata {
  std::string icc;   ///< colour profile
  std::string exif;  ///< a TIFF structure, its byte order first
  Density density;
  int gamma = 0;  ///< of the file, times 100,000; 0 when not said
  std::optional<int> srgbIntent;
  std::optional<std::array<int, 8>> chromaticities;  ///< as PNG orders them, times 100,000
  JpegCoding jpeg;
};

/// The EXIF orientation, 1 (upright) to 8; 1 where none is noted.
int Orientation(std::string_view exif);
/// Notes, where an orientation was noted, that the picture is upright.
void NoteUpright(std::string& exif);
/// Takes the preview out of reach: it would no longer look like the picture.
void DropPreview(std::string& exif);

}  // namespace imaging

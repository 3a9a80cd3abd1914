#pragma once

// A picture as files have it: the simulated host's image, whether it has an alpha channel at all
// (without one every alpha is 255), and what the file says beside the pixels.

#include <utility>

#include "imaging/metadata.h"
#include "simulator/image.h"

namespace imaging {

struct Image : sim::Image {
  using sim::Image::Image;
  explicit Image(sim::Image image, bool alpha) : sim::Image(std::move(image)), hasAlpha(alpha) {}

  bool hasAlpha = false;
  bool sixteenBits = false;  ///< The file had more than these pixels hold.
  Metadata metadata;
};

}  // namespace imaging

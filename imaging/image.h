#pragma once

// A picture as files have it: the simulated host's image, and whether it has an alpha channel at
// all. Without one every alpha is 255.

#include <utility>

#include "simulator/image.h"

namespace imaging {

struct Image : sim::Image {
  using sim::Image::Image;
  explicit Image(sim::Image image, bool alpha) : sim::Image(std::move(image)), hasAlpha(alpha) {}

  bool hasAlpha = false;
  bool sixteenBits = false;  ///< The file had more than these pixels hold.
};

}  // namespace imaging

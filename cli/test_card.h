#pragma once

// The sample picture's source, so that it can be made again and varied.

#include "imaging/image.h"

namespace velhost {

using imaging::Image;

/// The project's sample picture, made to show what turning and mirroring do: text and coloured
/// corners for the direction, a star and lines a pixel wide for exactness and blending, a landscape
/// for the photograph, and soft edges in the alpha channel. 480 × 320, the same pixels every time.
Image TestCard();

}  // namespace velhost

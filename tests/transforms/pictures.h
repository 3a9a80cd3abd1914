#pragma once

// Pictures for the transform tests: every kind of storage that a host may use, filled with random
// stored bits, and the checks that hold after every call.

#include <gtest/gtest.h>

#include <ostream>
#include <random>

#include "simulator/cairo_storage.h"
#include "simulator/console_storage.h"
#include "simulator/picture_setup.h"
#include "tests/session.h"
#include "tests/transforms/model.h"

using sim::PictureSetup;

namespace sim {
/// What a test's name shows.
inline void PrintTo(const PictureSetup& setup, std::ostream* out) { *out << setup.name; }
}  // namespace sim

inline const PictureSetup &kConsole = sim::PictureSetups()[0],
                          &kConsoleAlpha = sim::PictureSetups()[3];

/// A picture of random bits: unused ones, alphas and colours that no host would combine included.
inline sim::Ref<sim::Picture> RandomPicture(sim::Host& host, const PictureSetup& setup, int width,
                                            int height, std::mt19937& random) {
  sim::Image image(width, height);
  for (sim::Rgba& pixel : image.pixels) {
    const auto bits = random();
    pixel = {static_cast<uint8_t>(bits), static_cast<uint8_t>(bits >> 8),
             static_cast<uint8_t>(bits >> 16), static_cast<uint8_t>(bits >> 24)};
  }
  auto picture = host.MakePicture(image, {setup.source, setup.alpha, setup.rows});
  for (int i = 0; i < width * height && setup.source != sim::StorageKind::kGdk; ++i) {
    picture->storage->Words(i / width)[i % width] = static_cast<uint32_t>(random());
  }
  return picture;
}

/// "100x50 at (3, 4): 01020304 instead of 00000000", or nothing when equal.
inline std::string Difference(const model::Raster& actual, const model::Raster& expected) {
  char text[160] = "";
  if (actual.format != expected.format || actual.width != expected.width ||
      actual.height != expected.height) {
    std::snprintf(text, sizeof text, "format %d, %d x %d instead of format %d, %d x %d",
                  static_cast<int>(actual.format), actual.width, actual.height,
                  static_cast<int>(expected.format), expected.width, expected.height);
    return text;
  }
  for (int y = 0; y < actual.height; ++y) {
    for (int x = 0; x < actual.width; ++x) {
      if (actual.Word(x, y) == expected.Word(x, y)) continue;
      std::snprintf(text, sizeof text, "%d x %d at (%d, %d): %08X instead of %08X", actual.width,
                    actual.height, x, y, actual.Word(x, y), expected.Word(x, y));
      return text;
    }
  }
  return text;
}

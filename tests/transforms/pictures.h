#pragma once

// Pictures for the transform tests: every kind of storage that a host may use, filled with random
// stored bits, and the checks that hold after every call.

#include <gtest/gtest.h>

#include <ostream>
#include <random>

#include "simulator/cairo_storage.h"
#include "simulator/console_storage.h"
#include "tests/session.h"
#include "tests/transforms/model.h"

/// Where the source lives and where new pictures go.
struct PictureSetup {
  const char* name;
  sim::AppKind application;
  sim::StorageKind source;
  sim::StorageKind target;
  bool alpha;
  sim::RowLayout rows = sim::RowLayout::kContiguous;
  int extraStrideBytes = 0;

  sim::Settings Settings(double version) const {
    return {.version = version,
            .application = application,
            .newPictures = target,
            .newAlphaPictures = target,
            .rows = rows,
            .extraStrideBytes = extraStrideBytes};
  }
  model::Format TargetFormat() const { return model::FormatOf(target, alpha); }
};

/// What a test's name shows.
inline void PrintTo(const PictureSetup& setup, std::ostream* out) { *out << setup.name; }

inline const PictureSetup kSetups[] = {
    {"Console", sim::AppKind::kConsole, sim::StorageKind::kConsole, sim::StorageKind::kConsole,
     false},
    {"ConsolePadded", sim::AppKind::kWeb, sim::StorageKind::kConsole, sim::StorageKind::kConsole,
     false, sim::RowLayout::kPadded},
    {"ConsoleReversed", sim::AppKind::kConsole, sim::StorageKind::kConsole,
     sim::StorageKind::kConsole, false, sim::RowLayout::kReversed},
    {"ConsoleScatteredAlpha", sim::AppKind::kConsole, sim::StorageKind::kConsole,
     sim::StorageKind::kConsole, true, sim::RowLayout::kScattered},
    {"CairoAlpha", sim::AppKind::kDesktop, sim::StorageKind::kCairo, sim::StorageKind::kCairo, true,
     sim::RowLayout::kContiguous, 12},
    {"Cairo", sim::AppKind::kDesktop, sim::StorageKind::kCairo, sim::StorageKind::kCairo, false,
     sim::RowLayout::kContiguous, 4},
    {"Gdk", sim::AppKind::kDesktop, sim::StorageKind::kGdk, sim::StorageKind::kGdk, false},
    {"CairoToGdk", sim::AppKind::kDesktop, sim::StorageKind::kCairo, sim::StorageKind::kGdk, false,
     sim::RowLayout::kContiguous, 8},
    {"GdkToCairo", sim::AppKind::kDesktop, sim::StorageKind::kGdk, sim::StorageKind::kCairo, false},
};

/// Why a set-up cannot be had here, or nothing.
inline std::string Install(const PictureSetup& setup) {
  return sim::InstallStorage(setup.source) + sim::InstallStorage(setup.target);
}

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

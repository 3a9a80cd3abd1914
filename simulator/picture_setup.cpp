#include "simulator/picture_setup.h"

#include "simulator/storage.h"

namespace sim {

Settings PictureSetup::SettingsAt(double version) const {
  return {.version = version,
          .application = application,
          .newPictures = target,
          .newAlphaPictures = target,
          .rows = rows,
          .extraStrideBytes = extraStrideBytes};
}

std::span<const PictureSetup> PictureSetups() {
  using enum StorageKind;
  static constexpr AppKind kDesktop = AppKind::kDesktop;
  static constexpr PictureSetup kSetups[] = {
      {"console", AppKind::kConsole, kConsole, kConsole, false},
      {"web", AppKind::kWeb, kConsole, kConsole, false, RowLayout::kPadded},
      {"console_reversed", AppKind::kConsole, kConsole, kConsole, false, RowLayout::kReversed},
      {"console_alpha", AppKind::kConsole, kConsole, kConsole, true, RowLayout::kScattered},
      {"cairo_alpha", kDesktop, kCairo, kCairo, true, RowLayout::kContiguous, 12},
      {"cairo", kDesktop, kCairo, kCairo, false, RowLayout::kContiguous, 4},
      {"gdk", kDesktop, kGdk, kGdk, false},
      {"cairo_to_gdk", kDesktop, kCairo, kGdk, false, RowLayout::kContiguous, 8},
      {"gdk_to_cairo", kDesktop, kGdk, kCairo, false},
      // Most storages are tried, and copies are made.
      {"unknown_kind", AppKind::kUnknown, kConsole, kConsole, false},
      {"unlockable", kDesktop, kNone, kCairo, false},
  };
  return kSetups;
}

std::string Install(const PictureSetup& setup) {
  const std::string why = InstallStorage(setup.source);
  return why.empty() ? InstallStorage(setup.target) : why;
}

}  // namespace sim

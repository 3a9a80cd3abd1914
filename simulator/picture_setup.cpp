#include "simulator/picture_setup.h"

#include "simulator/storage.h"

namespace sim {
namespace {

constexpr PictureSetup On(const HostKind& host, const char* name, bool alpha,
                          RowLayout rows = RowLayout::kContiguous, int extraStrideBytes = 0) {
  return {name, host.application, host.opaque, host.opaque, alpha, rows, extraStrideBytes};
}

}  // namespace

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
      On(kConsoleHost, "console", false),
      On(kWebHost, "web", false, RowLayout::kPadded),
      On(kConsoleHost, "console_reversed", false, RowLayout::kReversed),
      On(kConsoleHost, "console_alpha", true, RowLayout::kScattered),
      On(kCairoHost, "cairo_alpha", true, RowLayout::kContiguous, 12),
      On(kCairoHost, "cairo", false, RowLayout::kContiguous, 4),
      On(kGdkHost, "gdk", false),
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

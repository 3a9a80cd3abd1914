#pragma once

// What the Picture methods ought to give on a host of given settings: which storages it can open,
// how each keeps a pixel, and, by way of the transforms' plain model, every pixel of the result. It
// knows nothing of how the plugin goes about it. Nothing in the host may be missing or fail.

#include <optional>

#include "simulator/settings.h"
#include "tests/transforms/model.h"

namespace model {

class PictureHost {
 public:
  explicit PictureHost(const sim::Settings& settings);

  std::optional<Raster> Move(const sim::Picture& picture, const model::Move& move);
  /// Not by 0 degrees, which is a clone.
  std::optional<Raster> Rotate(const sim::Picture& picture, double angle, uint32_t background);
  /// Whether the picture can be changed where it stands.
  bool CanEdit(const sim::Picture& picture);
  /// The copy that CloneVel makes, as the host shows it.
  sim::Image Clone(const sim::Picture& picture, int width, int height) const;

 private:
  std::optional<Format> Open(sim::StorageKind kind, bool alpha);
  std::optional<Raster> Read(const sim::Picture& picture);
  template <class Make>
  std::optional<Raster> MakeFrom(const sim::Picture& picture, Make make);
  std::optional<Format> NewFormat(bool alpha);

  const sim::Settings& settings_;
  bool isConsole_;
  bool isDesktop_;
};

/// Whether an estimate is the bytes of all pictures that a rotation makes, or up to twice of that
/// where lines are sheared.
bool IsFairEstimate(int64_t bytes, Size source, double angle);

}  // namespace model

#pragma once

// What is measured: every method of the plugin, on pictures of several sizes and storages, with
// fresh and with warm memory. A group is what shares one host: a size, a storage, a condition.

#include <regex>
#include <string>
#include <vector>

#include "simulator/settings.h"

namespace velbench {

struct Size {
  int width;
  int height;
};

/// Icons and thumbnails, which only some methods are measured on.
inline bool IsSmall(Size size) { return size.width < 512; }

/// kFresh: each new picture is allocated anew, so that everybody pays for page faults. kWarm:
/// picture memory is recycled.
enum class Condition { kFresh, kWarm };

/// What a method does, as far as other libraries can do it too. Turns to the left are
/// counter-clockwise.
enum class Work { kMirror, kFlip, kHalfTurn, kQuarterLeft, kQuarterRight, kRotate, kOwn };

/// From 512 × 512 on, up to there, or all.
enum class Sizes { kLarge, kSmall, kAll };

struct MethodCase {
  /// As the host's language writes it.
  const char* call;
  Work work;
  bool inPlace = false;
  double angleDegrees = 0;
  /// What has to be known about our own figure.
  const char* note = "";
  Sizes sizes = Sizes::kLarge;
};

struct StorageCase {
  const char* name;
  sim::HostKind host;
  bool alpha;
  int bytesPerPixel;
};

struct Group {
  const StorageCase* storage;
  Size size;
  Condition condition;
  std::vector<const MethodCase*> methods;
};

/// All groups, or the quick ones: those rows whose name, "Rotate90Vel/1920x1080/console/warm",
/// matches the filter somewhere.
std::vector<Group> SelectGroups(bool quick, const std::regex& filter);

/// "1920x1080"
std::string NameOf(Size size);
/// "fresh" or "warm"
const char* NameOf(Condition condition);
/// "1920x1080/console/warm"
std::string NameOf(const Group& group);

}  // namespace velbench

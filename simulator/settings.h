#pragma once

// What kind of host is simulated. Unless said otherwise it may be changed while the host runs;
// pictures already made keep their storage.

#include <set>
#include <string>

#include "simulator/image.h"

namespace sim {

/// Decides which application class the host knows.
enum class AppKind { kUnknown, kConsole, kWeb, kDesktop };

/// Where a picture's pixels live. A picture of kind kNone cannot be locked at all.
enum class StorageKind { kNone, kConsole, kCairo, kGdk };

/// How a console picture's rows lie in memory. All except kContiguous have guard bytes between
/// rows; kScattered also puts them out of order, at addresses that are multiples of 4 only; kHalves
/// puts the lower half of the picture before the upper one, with more than a page between them.
enum class RowLayout { kContiguous, kPadded, kReversed, kScattered, kHalves };

/// A kind of host as users name it: its application, and where it keeps new pictures, opaque ones
/// and ones with alpha channel (kNone: in a storage that nobody can lock).
struct HostKind {
  const char* name;
  AppKind application;
  StorageKind opaque;
  StorageKind alpha;
};
inline constexpr HostKind kConsoleHost = {"console", AppKind::kConsole, StorageKind::kConsole,
                                          StorageKind::kConsole},
                          kWebHost = {"web", AppKind::kWeb, StorageKind::kConsole,
                                      StorageKind::kConsole},
                          kCairoHost = {"cairo", AppKind::kDesktop, StorageKind::kCairo,
                                        StorageKind::kCairo},
                          kGdkHost = {"gdk", AppKind::kDesktop, StorageKind::kGdk,
                                      StorageKind::kNone};
inline constexpr HostKind kHostKinds[] = {kConsoleHost, kWebHost, kCairoHost, kGdkHost};

struct Settings {
  /// Reported by "REALGetRBVersion". Below 2012.0 the host expects one unlock for a failed lock.
  double version = 2012.01;
  /// Looked at once, when the host is made.
  AppKind application = AppKind::kConsole;

  /// Storage of the pictures that the host makes: opaque ones, and ones with alpha channel.
  StorageKind newPictures = StorageKind::kConsole;
  StorageKind newAlphaPictures = StorageKind::kConsole;
  RowLayout rows = RowLayout::kContiguous;
  /// Bytes that a Cairo surface's stride has beyond its rows; a multiple of 4.
  int extraStrideBytes = 0;
  /// Columns and rows that pictures have beyond those that the host is asked for; negative for
  /// fewer.
  int surplusColumns = 0;
  int surplusRows = 0;
  /// Content of new pictures.
  Rgba blank = {255, 255, 255, 255};
  Rgba blankWithAlpha = {0, 0, 0, 0};

  /// Names that this host lacks: entries, method declarations, properties, classes, and libraries
  /// and library entries (as the plugin asks the dynamic loader for them).
  std::set<std::string, std::less<>> missing = {};
  /// Without these, pictures answer null when asked for a mask or a Graphics.
  bool masks = true;
  bool graphics = true;

  /// For benchmarks: memory of released pictures is kept for the next picture of the same size,
  /// and new pictures are not filled.
  bool warmMemory = false;
  /// The plugin is told that no page it asks about is there yet, whatever the kernel says (needs
  /// import hooks).
  bool pagesMissing = false;
  /// Notice pixels that change under a lock and are not followed by a clearing of the cache.
  bool watchesCaches = false;
  /// Looked at once, when the host is made. Memory bites whoever takes it for what it is not:
  /// pixels end or begin at pages without access and are closed while not locked, what may only be
  /// read is read-only, the plugin's own memory is fenced, and what nobody wrote is litter that
  /// differs from call to call (needs import hooks).
  bool bites = false;
  /// The first of the patterns of litter, which change with each call.
  unsigned firstLitter = 0;
  /// The destructor of the host then tolerates an imbalance, which otherwise stops the process.
  bool allowLeaks = false;
};

}  // namespace sim

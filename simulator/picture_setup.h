#pragma once

// Where a picture lives and where the host makes new ones: the kinds of storage that a plugin must
// be ready for, each in an application that has it.

#include <span>
#include <string>

#include "simulator/settings.h"

namespace sim {

struct PictureSetup {
  const char* name;
  AppKind application;
  StorageKind source;
  StorageKind target;
  bool alpha;
  RowLayout rows = RowLayout::kContiguous;
  int extraStrideBytes = 0;

  Settings SettingsAt(double version) const;
};

/// All of them; the last two (kUncommonSetups) are not known to be either kind of application, and
/// have pictures that cannot be locked.
std::span<const PictureSetup> PictureSetups();
constexpr size_t kUncommonSetups = 2;

/// Makes the storages available. Returns why that cannot be done here, or nothing.
std::string Install(const PictureSetup& setup);

}  // namespace sim

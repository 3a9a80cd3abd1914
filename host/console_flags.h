#pragma once

// Console flags: records carry the plugin's own markers, which are turned into the host's bits
// before a record is registered, on hosts new enough to know those bits.

#include "host/export.h"
#include "host/host_types.h"

namespace velpicture {

constexpr uint32_t kFlagConsoleSafe = 0x4;
constexpr uint32_t kFlagConsoleOnly = 0x8;
constexpr uint32_t kFlagWebOnly = 0x100;
/// Markers of our own, asking for the two console bits above.
constexpr uint32_t kMarkConsoleSafe = 0x40000;
constexpr uint32_t kMarkConsoleOnly = 0x80000;

}  // namespace velpicture

/// Adds the host's bit for each marker that a flags word carries; the markers stay. Hosts below
/// version 2010.029 get their records as they are. The record forms visit every list of the record
/// and skip a list that is null or has no entries.
VEL_EXPORT void FixConsoleFlags(REALmethodDefinition* method);
VEL_EXPORT void FixConsoleFlags(REALmethodDefinition* methods, long count);
VEL_EXPORT void FixConsoleFlags(REALclassDefinition* definition);
VEL_EXPORT void FixConsoleFlags(REALmoduleDefinition* module);

/// Marks a class as safe in console applications.
VEL_EXPORT void SetClassConsoleSafe(REALclassDefinition* definition);
/// Marks a class as usable in web applications only.
VEL_EXPORT void SetClassWebOnly(REALclassDefinition* definition);

#pragma once

// Pictures as a desktop without Cairo keeps them, three bytes a pixel, but without an X server:
// what the plugin would have copied out of the server it is given in place. So its own work shows,
// which the server's would hide.

#include "simulator/plugin.h"
#include "simulator/storage.h"

namespace velbench {

/// Makes StorageKind::kGdk available, as such pictures.
void InstallThreeByteStorage();

/// Lets a started plugin find those pictures' pixels. False when it does not find the desktop's
/// libraries, without which it looks for no such pictures.
bool HandOutThreeBytePixels(const sim::Plugin& plugin);

/// Seconds that the host spent on turning buffers into such pictures: that work is the host's.
double SecondsConverting();

}  // namespace velbench

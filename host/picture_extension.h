#pragma once

// The methods that the plugin adds to the host's Picture class: one static record and its method
// table, adjusted at start-up and then the host's for the life of the process.

#include "host/host_types.h"

namespace velpicture {

/// Declared to the host at start-up and in every class record.
constexpr int kPluginInterfaceVersion = 9;

REALclassDefinition& PictureExtension();

/// Replaces RotateVel's declaration by the one whose colour default has six digits, for hosts that
/// do not know an alpha byte in a colour literal.
void DeclareRotationWithoutAlpha();

}  // namespace velpicture

#pragma once

// The methods that the plugin adds to the host's Picture class: one static record and its method
// table, adjusted at start-up and then the host's for the life of the process.

#include "host/host_types.h"

namespace velpicture {

REALclassDefinition& PictureExtension();

/// Replaces RotateVel's declaration by the one whose colour default has six digits, for hosts that
/// do not know an alpha byte in a colour literal.
void DeclareRotationWithoutAlpha();

}  // namespace velpicture

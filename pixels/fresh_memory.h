#pragma once

// Fresh memory: pages that the kernel has promised but not handed out yet, as those of every large
// block that the C library has just mapped. The first write to each costs a fault, and all of them
// together cost several times what the pixels do.

#include "pixels/picture_editor.h"

namespace velpicture {

/// Asks the kernel for the memory of `target`, all of whose pixels are about to be written: for
/// huge pages where it can spare them, and for all pages at once. Does nothing for small pictures
/// and for memory that is there already.
///
/// Only whole pages are named that hold pixels and what lies between rows less than a page apart:
/// a surface's padding, or between console rows whatever the host has there. No byte changes, nor
/// does errno; when the kernel refuses, nothing more is asked for.
void RequestFreshMemory(const PictureEditor& target);

}  // namespace velpicture

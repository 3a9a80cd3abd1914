#pragma once

#include "host/host_references.h"
#include "host/scope_exit.h"
#include "pixels/picture_reader.h"

namespace velpicture {

/// Opens the editor on a picture just made, which may be null, has accept() agree to what was
/// opened, and gives back the reference that the making left us with. The editor keeps its own, or
/// that one where it could add none. An editor that fails to open, or that a host call cuts short
/// by an exception, holds nothing.
template <class Accept>
bool OpenNewPicture(PictureEditor& editor, REALpictureStruct* picture, bool writable,
                    Accept accept) {
  ScopeExit close([&] { FreePictureWriter(editor); });
  {
    PictureReference creation(picture);
    if (!GetPictureReader(editor, picture, false, writable) || !accept()) return false;
    if (editor.picture != nullptr && editor.unreferenced) {
      creation.Release();
      editor.unreferenced = false;
    }
  }
  close.Dismiss();
  return true;
}

}  // namespace velpicture

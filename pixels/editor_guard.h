#pragma once

#include "host/host_references.h"
#include "pixels/picture_reader.h"

namespace velpicture {

/// Closes an editor at the end of the scope unless it was kept: an opening that a host call cuts
/// short by an exception then still gives everything back. Closing one that never opened does
/// nothing.
class EditorGuard {
 public:
  explicit EditorGuard(PictureEditor& editor) : editor_(&editor) {}
  EditorGuard(const EditorGuard&) = delete;
  EditorGuard& operator=(const EditorGuard&) = delete;
  ~EditorGuard() noexcept(false) {
    if (editor_ != nullptr) FreePictureWriter(*editor_);
  }
  void Keep() { editor_ = nullptr; }

 private:
  PictureEditor* editor_;
};

/// Opens the editor on a picture just made, which may be null, has accept() agree to what was
/// opened, and gives back the reference that the making left us with. The editor keeps its own, or
/// that one where it could add none.
template <class Accept>
bool OpenNewPicture(PictureEditor& editor, REALpictureStruct* picture, bool writable,
                    Accept accept) {
  EditorGuard guard(editor);
  {
    PictureReference creation(picture);
    if (!GetPictureReader(editor, picture, false, writable) || !accept()) return false;
    if (editor.picture != nullptr && editor.unreferenced) {
      creation.Release();
      editor.unreferenced = false;
    }
  }
  guard.Keep();
  return true;
}

}  // namespace velpicture

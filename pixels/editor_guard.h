#pragma once

#include "pixels/picture_editor.h"

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

}  // namespace velpicture

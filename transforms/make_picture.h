#pragma once

// Opened pictures as scopes, and the one way in which every transform makes a new picture: open a
// writer, fill it, render it.

#include "host/host_references.h"
#include "pixels/fresh_memory.h"
#include "pixels/picture_reader.h"
#include "pixels/picture_writers.h"

namespace velpicture {

/// A picture opened with GetPictureReader or GetPictureEditor, closed at the end of the scope.
class OpenedPicture {
 public:
  OpenedPicture(REALpictureStruct* picture, bool (*open)(PictureEditor&, REALpictureStruct*))
      : opened_(open(editor_, picture)) {}
  OpenedPicture(const OpenedPicture&) = delete;
  OpenedPicture& operator=(const OpenedPicture&) = delete;
  ~OpenedPicture() noexcept(false) { Close(); }

  explicit operator bool() const { return opened_; }
  PictureEditor& editor() { return editor_; }
  /// Closes now instead of at the end of the scope.
  void Close() {
    if (!opened_) return;
    opened_ = false;
    ClosePictureReader(editor_);
  }

 private:
  PictureEditor editor_;
  bool opened_;
};

/// A writer of width x height, with alpha channel when `model` has one; given up at the end of the
/// scope unless it was rendered.
class PictureTarget {
 public:
  PictureTarget(PictureEditor& model, int width, int height)
      : opened_(NewPictureWriter(editor_, model, width, height)),
        // A host that makes a smaller picture than it was asked for must not cost us its memory.
        usable_(opened_ && editor_.width >= width && editor_.height >= height) {}
  PictureTarget(const PictureTarget&) = delete;
  PictureTarget& operator=(const PictureTarget&) = delete;
  ~PictureTarget() noexcept(false) {
    if (opened_) FreePictureWriter(editor_);
  }

  explicit operator bool() const { return usable_; }
  PictureEditor& editor() { return editor_; }
  REALpictureStruct* Render() { return RenderPictureWriter(editor_); }

 private:
  PictureEditor editor_;
  bool opened_;
  bool usable_;
};

/// A new picture of width x height with alpha like `model`, all of it filled by fill(target
/// editor); null when the writer or the picture cannot be had. The reference is the caller's.
template <class Fill>
REALpictureStruct* MakePicture(PictureEditor& model, int width, int height, Fill fill) {
  PictureTarget target(model, width, height);
  if (!target) return nullptr;
  RequestFreshMemory(target.editor());
  fill(target.editor());
  return target.Render();
}

/// make(editor) on the opened picture, which is closed before its result is handed on; null when it
/// cannot be opened.
template <class Make>
REALpictureStruct* MakeFrom(REALpictureStruct* picture, Make make) {
  OpenedPicture source(picture, GetPictureReader);
  if (!source) return nullptr;
  // Closing calls the host, which may throw: the result must not be lost then.
  PictureReference result(make(source.editor()));
  source.Close();
  return result.Release();
}

}  // namespace velpicture

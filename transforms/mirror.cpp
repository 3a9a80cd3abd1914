#include "transforms/mirror.h"

#include "transforms/make_picture.h"
#include "transforms/pixel_moves.h"

using namespace velpicture;

namespace {

REALpictureStruct* MirroredCopy(REALpictureStruct* picture, bool flipColumns, bool flipRows) {
  return MakeFrom(picture, [&](PictureEditor& source) {
    return MakePicture(source, source.width, source.height, [&](PictureEditor& target) {
      MirrorPixels(source, target, flipColumns, flipRows);
    });
  });
}

/// Runs mirror(editor), which says whether it could, on the picture itself.
bool MirroredInPlace(REALpictureStruct* picture, bool (*mirror)(PictureEditor&)) {
  OpenedPicture edited(picture, GetPictureEditor);
  return edited && mirror(edited.editor());
}

/// A console picture is of whatever size its host says.
bool HasPixels(const PictureEditor& editor) { return editor.width > 0 && editor.height > 0; }

}  // namespace

bool MirrorPictureVel(REALpictureStruct* picture) {
  return MirroredInPlace(picture, [](PictureEditor& editor) {
    if (HasPixels(editor) && editor.rowBytes >= 0) MirrorInPlace(editor);
    return true;
  });
}

bool HMirrorPictureVel(REALpictureStruct* picture) {
  return MirroredInPlace(picture, [](PictureEditor& editor) {
    if (HasPixels(editor)) ReverseRowsInPlace(editor);
    return true;
  });
}

bool VMirrorPictureVel(REALpictureStruct* picture) {
  return MirroredInPlace(picture, [](PictureEditor& editor) {
    if (editor.rowBytes < 0) return false;
    if (HasPixels(editor)) FlipRowsInPlace(editor);
    return true;
  });
}

REALpictureStruct* MirrorVel(REALpictureStruct* picture) {
  return MirroredCopy(picture, true, true);
}

REALpictureStruct* HMirrorVel(REALpictureStruct* picture) {
  return MirroredCopy(picture, true, false);
}

REALpictureStruct* VMirrorVel(REALpictureStruct* picture) {
  return MirroredCopy(picture, false, true);
}

#include "transforms/mirror.h"

#include "transforms/picture_scopes.h"
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

/// Runs mirror(editor) on the picture itself.
bool MirroredInPlace(REALpictureStruct* picture, void (*mirror)(PictureEditor&)) {
  EditedPicture edited(picture);
  if (!edited) return false;
  mirror(edited.editor());
  return true;
}

}  // namespace

bool MirrorPictureVel(REALpictureStruct* picture) {
  return MirroredInPlace(picture, MirrorInPlace);
}

bool HMirrorPictureVel(REALpictureStruct* picture) {
  return MirroredInPlace(picture, ReverseRowsInPlace);
}

bool VMirrorPictureVel(REALpictureStruct* picture) {
  return MirroredInPlace(picture, FlipRowsInPlace);
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

#include "transforms/mirror.h"

#include <cstdlib>

#include "transforms/picture_scopes.h"
#include "transforms/pixel_moves.h"

using namespace velpicture;

namespace {

REALpictureStruct* MirroredCopy(REALpictureStruct* picture, bool flipColumns, bool flipRows) {
  PictureSource source(picture);
  if (!source) return nullptr;
  PictureEditor& pixels = source.editor();
  return MakePicture(pixels, pixels.width, pixels.height, [&](PictureEditor& target) {
    MirrorPixels(pixels, target, flipColumns, flipRows);
  });
}

/// Runs mirror(editor, row buffer) on the picture; the buffer holds one row.
bool MirrorThroughRowBuffer(REALpictureStruct* picture, void (*mirror)(PictureEditor&, uint8_t*)) {
  EditedPicture edited(picture);
  if (!edited) return false;
  PictureEditor& pixels = edited.editor();
  // A stride below the pixels' bytes is no picture: the buffer must hold a whole row.
  if (pixels.rowBytes < 0 || pixels.rowBytes / 4 < pixels.width) return false;
  auto* const rowBuffer =
      static_cast<uint8_t*>(std::calloc(1, static_cast<size_t>(pixels.rowBytes)));
  if (rowBuffer == nullptr) return false;
  mirror(pixels, rowBuffer);
  std::free(rowBuffer);
  return true;
}

}  // namespace

bool MirrorPictureVel(REALpictureStruct* picture) {
  return MirrorThroughRowBuffer(picture, MirrorInPlace);
}

bool HMirrorPictureVel(REALpictureStruct* picture) {
  EditedPicture edited(picture);
  if (!edited) return false;
  ReverseRowsInPlace(edited.editor());
  return true;
}

bool VMirrorPictureVel(REALpictureStruct* picture) {
  return MirrorThroughRowBuffer(picture, FlipRowsInPlace);
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

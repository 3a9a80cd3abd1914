#include "transforms/quarter_turns.h"

#include "transforms/make_picture.h"
#include "transforms/mirror.h"
#include "transforms/pixel_moves.h"

using namespace velpicture;

namespace {

REALpictureStruct* Turned(REALpictureStruct* picture, QuarterTurn turn) {
  return MakeFrom(picture, [&](PictureEditor& source) {
    return MakePicture(source, source.height, source.width,
                       [&](PictureEditor& target) { TurnPixels(source, target, turn); });
  });
}

}  // namespace

REALpictureStruct* rbRotate90(REALpictureStruct* picture) {
  return Turned(picture, QuarterTurn::kCounterClockwise);
}

REALpictureStruct* rbRotate180(REALpictureStruct* picture) { return MirrorVel(picture); }

REALpictureStruct* rbRotate270(REALpictureStruct* picture) {
  return Turned(picture, QuarterTurn::kClockwise);
}

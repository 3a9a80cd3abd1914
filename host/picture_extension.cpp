// The only file of host/ that looks up at the transforms: it binds their functions to the
// declarations that the host parses.

#include "host/picture_extension.h"

#include "host/console_flags.h"
#include "host/entry.h"
#include "pixels/whole_pictures.h"
#include "transforms/mirror.h"
#include "transforms/quarter_turns.h"
#include "transforms/rotate.h"
#include "transforms/rotate_memory.h"

namespace velpicture {
namespace {

#define VEL_METHOD(function, declaration) \
  { reinterpret_cast<void*>(function), nullptr, declaration, kMarkConsoleSafe }

// The host's order of the methods; RotateVel stays first.
REALmethodDefinition pictureMethods[] = {
    VEL_METHOD(rbRotate, "RotateVel(angle as double, background as color = &cFFFFFFFF) as picture"),
    VEL_METHOD(rbRotate90, "Rotate90Vel as picture"),
    VEL_METHOD(rbRotate180, "Rotate180Vel as picture"),
    VEL_METHOD(rbRotate270, "Rotate270Vel as picture"),
    VEL_METHOD(rbRotateMemory, "RotateMemoryVel(angle as double) as Int64"),
    VEL_METHOD(MirrorVel, "MirrorVel as picture"),
    VEL_METHOD(VMirrorVel, "VMirrorVel as picture"),
    VEL_METHOD(HMirrorVel, "HMirrorVel as picture"),
    VEL_METHOD(MirrorPictureVel, "MirrorPictureVel as boolean"),
    VEL_METHOD(VMirrorPictureVel, "VMirrorPictureVel as boolean"),
    VEL_METHOD(HMirrorPictureVel, "HMirrorPictureVel as boolean"),
    VEL_METHOD(rbClonePicture, "CloneVel as picture"),
    VEL_METHOD(rbClonePicture2, "CloneVel(width as integer, height as integer) as picture"),
    VEL_METHOD(rbBitmapPicture, "BitmapVel as picture"),
};
#undef VEL_METHOD

constinit REALclassDefinition pictureExtension = [] {
  REALclassDefinition record{};
  record.version = kPluginInterfaceVersion;
  record.name = "Picture";
  record.methods = pictureMethods;
  record.methodCount = sizeof pictureMethods / sizeof pictureMethods[0];
  record.flags = kMarkConsoleSafe;
  return record;
}();

}  // namespace

REALclassDefinition& PictureExtension() { return pictureExtension; }

void DeclareRotationWithoutAlpha() {
  pictureMethods[0].declaration =
      "RotateVel(angle as double, background as color = &cFFFFFF) as picture";
}

}  // namespace velpicture

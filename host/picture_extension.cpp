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

// The host's order of the methods; RotateVel stays first.
REALmethodDefinition pictureMethods[] = {
    {reinterpret_cast<void*>(rbRotate), nullptr,
     "RotateVel(angle as double, background as color = &cFFFFFFFF) as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbRotate90), nullptr, "Rotate90Vel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbRotate180), nullptr, "Rotate180Vel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbRotate270), nullptr, "Rotate270Vel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbRotateMemory), nullptr, "RotateMemoryVel(angle as double) as Int64",
     kMarkConsoleSafe},
    {reinterpret_cast<void*>(MirrorVel), nullptr, "MirrorVel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(VMirrorVel), nullptr, "VMirrorVel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(HMirrorVel), nullptr, "HMirrorVel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(MirrorPictureVel), nullptr, "MirrorPictureVel as boolean",
     kMarkConsoleSafe},
    {reinterpret_cast<void*>(VMirrorPictureVel), nullptr, "VMirrorPictureVel as boolean",
     kMarkConsoleSafe},
    {reinterpret_cast<void*>(HMirrorPictureVel), nullptr, "HMirrorPictureVel as boolean",
     kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbClonePicture), nullptr, "CloneVel as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbClonePicture2), nullptr,
     "CloneVel(width as integer, height as integer) as picture", kMarkConsoleSafe},
    {reinterpret_cast<void*>(rbBitmapPicture), nullptr, "BitmapVel as picture", kMarkConsoleSafe},
};

REALclassDefinition pictureExtension = {
    .version = kPluginInterfaceVersion,
    .name = "Picture",
    .hostWord2 = 0,
    .size = 0,
    .hostWords4 = {},
    .members = nullptr,
    .memberCount = 0,
    .methods = pictureMethods,
    .methodCount = sizeof pictureMethods / sizeof pictureMethods[0],
    .hostWords11 = {},
    .flags = kMarkConsoleSafe,
    .sharedMembers = nullptr,
    .sharedMemberCount = 0,
    .sharedMethods = nullptr,
    .sharedMethodCount = 0,
};

}  // namespace

REALclassDefinition& PictureExtension() { return pictureExtension; }

void DeclareRotationWithoutAlpha() {
  pictureMethods[0].declaration =
      "RotateVel(angle as double, background as color = &cFFFFFF) as picture";
}

}  // namespace velpicture

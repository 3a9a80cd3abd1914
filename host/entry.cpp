#include "host/entry.h"

#include "host/console_flags.h"
#include "host/host_calls.h"
#include "host/picture_extension.h"
#include "host/resolver.h"
#include "host/versions.h"

bool gHasControls = false;

namespace {

// Nobody reads it here: it tells whoever looks into the file which version that is.
[[gnu::used]] constexpr char kVersion[] = "VelPicture " VELPICTURE_VERSION;

void RoundUpSize(uint32_t& size) {
  if (size % 16 != 0) size += 16 - size % 16;
}

}  // namespace

void REALPluginMain(void* (*resolver)(const char* name)) {
  gResolver = resolver;
  const auto registerVersion =
      reinterpret_cast<void (*)(int)>(HCallResolver("RegisterPluginVersion"));
  if (registerVersion != nullptr) registerVersion(velpicture::kPluginInterfaceVersion);
  const auto getVersion = reinterpret_cast<double (*)()>(HCallResolver("REALGetRBVersion"));
  if (getVersion != nullptr) rbversion_rbversion = getVersion();
  PluginEntry();
}

void PluginEntry() {
  REALclassDefinition& extension = velpicture::PictureExtension();
  if (!velpicture::ParsesColorAlpha()) velpicture::DeclareRotationWithoutAlpha();
  FixConsoleFlags(&extension);
  MyREALRegisterClassExtension(&extension);
}

void MyREALRegisterClassExtension(REALclassDefinition* definition) {
  REALRegisterClassExtension(definition);
}

void MyREALRegisterClass(REALclassDefinition* definition) {
  RoundUpSize(definition->size);
  REALRegisterClass(definition);
}

void MyREALRegisterControl(REALcontrol* control) {
  gHasControls = true;
  RoundUpSize(control->size);
  REALRegisterControl(control);
}

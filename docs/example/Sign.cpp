#include "host/console_flags.h"
#include "host/entry.h"
#include "pixels/picture_reader.h"
#include "text/rb_text.h"

// Writes the text, in UTF-8, into the blue of the picture's top row, a byte in each pixel.
static bool Sign(REALpictureStruct* picture, REALstringStruct* string) {
  PictureEditor pixels;
  if (!GetPictureEditor(pixels, picture)) return false;
  rbText text(string);
  for (int x = 0; x < pixels.width && x < text.LengthUTF8(); ++x) {
    const velpicture::Rgba old = GetPixel(pixels, x, 0);
    const int byte = static_cast<unsigned char>(text.GetUTF8()[x]);
    SetPixel(pixels, x, 0, old.red, old.green, byte, old.alpha);
  }
  ClosePictureEditor(pixels);
  return true;
}

static REALmethodDefinition method = {reinterpret_cast<void*>(Sign), nullptr,
                                      "Sign(text as string) as boolean",
                                      velpicture::kFlagConsoleSafe};
static REALclassDefinition extension;

// Only the resolver is used here: VelPicture may not have been started yet.
void REALPluginMain(void* (*resolver)(const char*)) {
  extension.version = velpicture::kPluginInterfaceVersion;
  extension.name = "Picture";
  extension.methods = &method;
  extension.methodCount = 1;
  extension.flags = velpicture::kFlagConsoleSafe;
  if (void* entry = resolver("RegisterPluginVersion")) {
    reinterpret_cast<void (*)(int)>(entry)(extension.version);
  }
  if (void* entry = resolver("PluginRegisterClassExtension")) {
    reinterpret_cast<void (*)(REALclassDefinition*)>(entry)(&extension);
  }
}

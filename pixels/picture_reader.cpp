#include "pixels/picture_reader.h"

#include "host/application.h"
#include "host/host_references.h"
#include "host/scope_exit.h"
#include "pixels/description_lock.h"
#include "pixels/gtk_cairo.h"
#include "pixels/open_new_picture.h"
#include "pixels/whole_pictures.h"

using namespace velpicture;

namespace {

enum class Attempt {
  kNotThere,  ///< the lock failed: the picture has no storage of this kind
  kRefused,   ///< locked, but not usable; the lock was given back
  kOpened,
};

struct PixelBuffer {
  PixelType format;
  uint8_t* pixels;
  int width;
  int height;
  int rowBytes;
};

void FillEditor(PictureEditor& editor, REALpictureStruct* picture, const PixelBuffer& buffer) {
  editor.unreferenced = !AddReference(picture);
  editor.picture = picture;
  editor.pixelType = buffer.format;
  editor.bytesPerPixel = GetBytesPerPixel(editor);
  editor.baseAddress = buffer.pixels;
  editor.pixels = buffer.pixels;
  editor.width = buffer.width;
  editor.height = buffer.height;
  editor.rowBytes = buffer.rowBytes;
  editor.accessX = 0;
  editor.accessY = 0;
}

/// The surface behind a Cairo context; false when there is none with pixels of four bytes.
bool DescribeSurface(void* context, PixelBuffer& buffer) {
  void* const surface = _cairo_get_target(context);
  if (surface == nullptr) return false;
  buffer.pixels = _cairo_image_surface_get_data(surface);
  buffer.width = _cairo_image_surface_get_width(surface);
  buffer.height = _cairo_image_surface_get_height(surface);
  buffer.rowBytes = _cairo_image_surface_get_stride(surface);
  return buffer.width > 0 && buffer.height > 0 && buffer.rowBytes / 4 >= buffer.width &&
         buffer.pixels != nullptr;
}

// Each fills the editor from the locked description of its storage; false when that is of no use.

bool FillFromCairo(PictureEditor& editor, REALpictureStruct* picture) {
  if (!LoadCairo()) return false;
  PixelBuffer buffer{};
  buffer.format = editor.hasAlpha ? kPixelArgb32 : kPixelRgb32;
  if (!DescribeSurface(editor.description.data, buffer)) return false;
  FillEditor(editor, picture, buffer);
  return true;
}

bool FillFromGdk(PictureEditor& editor, REALpictureStruct* picture) {
  if (!LoadGTK()) return false;
  const REALpictureDescription& description = editor.description;
  void* const pixbuf = _gdk_pixbuf_get_from_drawable(nullptr, description.data, nullptr, 0, 0, 0, 0,
                                                     description.width, description.height);
  if (pixbuf == nullptr) return false;
  ScopeExit unreference([=] { _gdk_pixbuf_unref(pixbuf); });
  uint8_t* const pixels = _gdk_pixbuf_get_pixels(pixbuf);
  if (pixels == nullptr) return false;
  FillEditor(editor, picture, {kPixelRgb24, pixels, description.width, description.height, 0});
  editor.rowBytes = _gdk_pixbuf_get_rowstride(pixbuf);
  editor.pixbuf = pixbuf;
  unreference.Dismiss();
  return true;
}

bool FillFromConsole(PictureEditor& editor, REALpictureStruct* picture) {
  const REALpictureDescription& description = editor.description;
  const auto* const block = static_cast<const ConsolePixelBlock*>(description.data);
  if (!editor.hasAlpha && block->flags != 0) return false;
  if (block->rowTable == nullptr || block->storage == nullptr) return false;
  // The byte width of a row wraps with the host's own 32-bit arithmetic; rows are never reached
  // through it, since the row table has their addresses.
  const auto rowBytes = static_cast<int>(static_cast<uint32_t>(description.width) * 4);
  FillEditor(editor, picture,
             {kPixelConsole, block->rowTable[0], description.width, description.height, rowBytes});
  editor.rowTable = block->rowTable;
  return true;
}

struct Storage {
  REALpictureStorage kind;
  bool& ownApplication;  ///< the flag of the kind of application that has such storage
  bool (*fill)(PictureEditor& editor, REALpictureStruct* picture);
};

constexpr Storage kCairo = {kStorageCairoContext, IsDesktop, FillFromCairo};
constexpr Storage kGdk = {kStorageGdkDrawable, IsDesktop, FillFromGdk};
constexpr Storage kConsole = {kStorageConsoleBlock, IsConsole, FillFromConsole};

Attempt Open(const Storage& storage, PictureEditor& editor, REALpictureStruct* picture) {
  DescriptionLock lock(picture, editor.description, storage.kind);
  if (!lock) return Attempt::kNotThere;
  storage.ownApplication = true;
  const REALpictureDescription& description = editor.description;
  const bool isFilled = description.data != nullptr && description.type == storage.kind &&
                        storage.fill(editor, picture);
  if (!isFilled) return Attempt::kRefused;
  lock.Keep();
  return Attempt::kOpened;
}

/// Tries the storages in their order. A picture with alpha is in no drawable, and never copied.
bool OpenAny(PictureEditor& editor, REALpictureStruct* picture) {
  const bool mayCopy = !IsConsole && !editor.hasAlpha && editor.allowCopy && !editor.writable;
  Attempt attempt = Attempt::kNotThere;
  if (!IsConsole) {
    attempt = Open(kCairo, editor, picture);
    if (attempt == Attempt::kNotThere && !editor.hasAlpha) attempt = Open(kGdk, editor, picture);
  }
  // Before the copy: a host without a Graphics would leave the copy of a console picture blank.
  if (attempt == Attempt::kNotThere && !IsDesktop) attempt = Open(kConsole, editor, picture);
  if (attempt != Attempt::kNotThere || !mayCopy) return attempt == Attempt::kOpened;
  // The editor keeps the copy until it is closed. The copy was opened without leave to copy again.
  return OpenNewPicture(editor, ClonePicture(picture), false,
                        [&] { return editor.allowCopy = true; });
}

}  // namespace

bool GetPictureReader(PictureEditor& editor, REALpictureStruct* picture, signed char allowCopy,
                      signed char writable) {
  editor = PictureEditor{};
  if (picture == nullptr) return false;
  editor.writable = writable != 0;
  editor.allowCopy = allowCopy != 0;
  if (!IsConsole && !IsDesktop) CheckApplication();
  editor.hasAlpha = PictureHasAlphaChannel(picture);
  return OpenAny(editor, picture);
}

bool GetPictureReader(PictureEditor& editor, REALpictureStruct* picture) {
  return GetPictureReader(editor, picture, true, false);
}

bool GetPictureEditor(PictureEditor& editor, REALpictureStruct* picture) {
  if (!GetPictureReader(editor, picture, true, true)) return false;
  if (editor.pixelType != kPixelRgb24) return true;
  ClosePictureEditor(editor);
  return false;
}

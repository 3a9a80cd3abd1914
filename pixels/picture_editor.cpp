#include "pixels/picture_editor.h"

#include <cstdlib>

#include "host/host_references.h"
#include "pixels/gtk_cairo.h"
#include "pixels/pixel_formats.h"

using namespace velpicture;

namespace {

struct FormatLayout {
  uint8_t bytesPerPixel;
  uint8_t redOffset;
  uint8_t greenOffset;
  uint8_t blueOffset;
};

// Indexed by pixelType. Most codes are the host's numbering only; no editor carries them.
constexpr FormatLayout kFormatLayouts[] = {
    {0, 0, 0, 0}, {4, 0, 1, 2}, {4, 1, 2, 3}, {4, 0, 1, 2}, {4, 1, 2, 3}, {4, 0, 1, 2},
    {4, 1, 2, 3}, {0, 0, 0, 0}, {4, 2, 1, 0}, {4, 2, 1, 0}, {3, 2, 1, 0}, {3, 0, 1, 2},
    {3, 0, 1, 2}, {4, 1, 2, 3}, {4, 2, 1, 0}, {4, 2, 1, 0}, {4, 2, 1, 0},
};

FormatLayout LayoutOf(const PictureEditor& editor) {
  constexpr uint32_t kCount = sizeof kFormatLayouts / sizeof kFormatLayouts[0];
  return editor.pixelType < kCount ? kFormatLayouts[editor.pixelType] : FormatLayout{};
}

uint8_t* PixelAddress(PictureEditor& editor, int x, int y) {
  editor.accessX = 0;
  editor.accessY = y;
  return RowAddress(editor, y) + static_cast<ptrdiff_t>(x) * editor.bytesPerPixel;
}

void CloseEditor(PictureEditor& editor) {
  if (editor.pixbuf != nullptr) {
    if (_gdk_pixbuf_unref != nullptr) _gdk_pixbuf_unref(editor.pixbuf);
    editor.pixbuf = nullptr;
  }
  if (editor.picture == nullptr) return;
  const PictureReference reference(editor.picture, !editor.unreferenced);
  editor.picture = nullptr;
  REALUnlockPictureDescription(reference.get());
  if (editor.writable) REALPictureClearCache(reference.get());
}

// Makes the shared object hold RowAddress, which is inline everywhere in it, for others to call.
[[gnu::used]] uint8_t* (*const rowAddress)(const PictureEditor&, int) = &RowAddress;

}  // namespace

int GetBytesPerPixel(PictureEditor& editor) { return LayoutOf(editor).bytesPerPixel; }
int GetRedOffset(PictureEditor& editor) { return LayoutOf(editor).redOffset; }
int GetGreenOffset(PictureEditor& editor) { return LayoutOf(editor).greenOffset; }
int GetBlueOffset(PictureEditor& editor) { return LayoutOf(editor).blueOffset; }

Rgba GetPixel(PictureEditor& editor, int x, int y) {
  const uint8_t* const bytes = PixelAddress(editor, x, y);
  Rgba pixel{};
  VisitFormat(editor.pixelType, [&](auto format) { pixel = format.Load(bytes); });
  return pixel;
}

void SetPixel(PictureEditor& editor, int x, int y, int red, int green, int blue, int alpha) {
  uint8_t* const bytes = PixelAddress(editor, x, y);
  VisitFormat(editor.pixelType, [&](auto format) {
    format.Store(bytes, Rgba{red, green, blue, alpha});
  });
}

void NextRow(PictureEditor& editor) {
  editor.accessY += 1;
  editor.accessX = 0;
  editor.baseAddress = RowAddress(editor, editor.accessY);
}

void ClosePictureReader(PictureEditor& editor) { CloseEditor(editor); }

void ClosePictureEditor(PictureEditor& editor) { CloseEditor(editor); }

void FreePictureWriter(PictureEditor& editor) {
  CloseEditor(editor);
  std::free(editor.ownedBuffer);
  editor.ownedBuffer = nullptr;
}

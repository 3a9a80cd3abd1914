#include "pixels/picture_writers.h"

#include <cstdlib>
#include <utility>

#include "host/host_references.h"
#include "host/scope_exit.h"
#include "pixels/open_new_picture.h"
#include "pixels/whole_pictures.h"

using namespace velpicture;

namespace {

constexpr int kLongestOpaqueSide = 32767;
constexpr int64_t kLargestBuffer = 0x7FFFFFFF;

/// Replaces an editor that only holds a copy of its picture's pixels by an own-buffer writer.
bool ReplaceByOwnBuffer(PictureEditor& editor, int width, int height) {
  ClosePictureEditor(editor);
  return NewPictureWriterLinux(editor, width, height);
}

/// The picture a writer has made so far, with one reference for the caller, or null. Where no
/// reference can be added, the writer's own becomes the caller's.
PictureReference FinishedPicture(PictureEditor& editor) {
  if (editor.picture != nullptr) {
    const bool isHeld = AddReference(editor.picture) || !std::exchange(editor.unreferenced, true);
    return PictureReference(editor.picture, isHeld);
  }
  if (editor.ownedBuffer == nullptr) return PictureReference(nullptr);
  return PictureReference(REALBuildPictureFromBuffer(editor.width, editor.height, kRBPixelTypeRgb24,
                                                     editor.ownedBuffer, editor.rowBytes));
}

}  // namespace

bool NewPictureWriter(PictureEditor& editor, int width, int height) {
  editor = PictureEditor{};
  if (width < 1 || width > kLongestOpaqueSide || height < 1 || height > kLongestOpaqueSide) {
    return false;
  }
  return OpenNewPicture(editor, NewPicture(width, height, false), true, [&] {
    return editor.pixelType != kPixelRgb24 || ReplaceByOwnBuffer(editor, width, height);
  });
}

bool NewPictureWriter(PictureEditor& editor, REALpictureStruct* picture, int width, int height) {
  editor = PictureEditor{};
  if (picture != nullptr && GetPictureWidth(picture) >= width &&
      GetPictureHeight(picture) >= height && GetPictureReader(editor, picture, false, true)) {
    if (editor.pixelType != kPixelRgb24) return true;
    return ReplaceByOwnBuffer(editor, width, height);
  }
  return NewPictureWriter(editor, width, height);
}

bool NewPictureWriterWithAlphaChannel(PictureEditor& editor, int width, int height) {
  editor = PictureEditor{};
  return OpenNewPicture(editor, NewPictureWithAlphaChannel(width, height), true,
                        [] { return true; });
}

bool NewPictureWriter(PictureEditor& editor, PictureEditor& like, int width, int height) {
  return like.hasAlpha ? NewPictureWriterWithAlphaChannel(editor, width, height)
                       : NewPictureWriter(editor, width, height);
}

bool NewPictureWriter(PictureEditor& editor, PictureEditor& like) {
  return NewPictureWriter(editor, like, like.width, like.height);
}

bool NewPictureWriter(PictureEditor& editor, int width, int height, signed char alpha) {
  return (alpha != 0 && NewPictureWriterWithAlphaChannel(editor, width, height)) ||
         NewPictureWriter(editor, width, height);
}

bool NewPictureWriterLinux(PictureEditor& editor, long width, long height) {
  if (width < 0 || height < 0) return false;
  const int64_t rowBytes = static_cast<int64_t>(width) * 3;
  // One spare row follows the last.
  const int64_t rowCount = static_cast<int64_t>(height) + 1;
  if (rowBytes != 0 && rowCount > kLargestBuffer / rowBytes) return false;
  auto* const buffer = static_cast<uint8_t*>(
      std::calloc(static_cast<size_t>(rowCount), static_cast<size_t>(rowBytes)));
  if (buffer == nullptr) return false;
  editor.baseAddress = buffer;
  editor.pixels = buffer;
  editor.ownedBuffer = buffer;
  editor.width = width;
  editor.height = height;
  editor.rowBytes = static_cast<int>(rowBytes);
  editor.bytesPerPixel = 3;
  editor.pixelType = kPixelRgb24;
  editor.accessX = 0;
  editor.accessY = 0;
  return true;
}

REALpictureStruct* RenderPictureWriter(PictureEditor& editor) {
  // The host copies the pixels of a buffer, which stays ours.
  const ScopeExit freeBuffer([&] {
    std::free(editor.ownedBuffer);
    editor.ownedBuffer = nullptr;
  });
  PictureReference result = FinishedPicture(editor);
  ClosePictureEditor(editor);
  if (result) REALPictureClearCache(result.get());
  return result.Release();
}

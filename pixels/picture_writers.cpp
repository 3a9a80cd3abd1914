#include "pixels/picture_writers.h"

#include <cstdlib>
#include <utility>

#include "host/host_references.h"
#include "host/versions.h"
#include "pixels/editor_guard.h"
#include "pixels/picture_helpers.h"
#include "pixels/picture_reader.h"

using namespace velpicture;

namespace {

constexpr int kLongestOpaqueSide = 32767;
constexpr long kPictureDepth = 32;
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

/// Frees a writer's own buffer at the end of the scope: the host has copied its pixels.
struct OwnedBufferScope {
  PictureEditor& editor;
  ~OwnedBufferScope() {
    std::free(editor.ownedBuffer);
    editor.ownedBuffer = nullptr;
  }
};

}  // namespace

bool NewPictureWriter(PictureEditor& editor, int width, int height) {
  editor = PictureEditor{};
  if (width < 1 || width > kLongestOpaqueSide || height < 1 || height > kLongestOpaqueSide) {
    return false;
  }
  return OpenNewPicture(editor, REALNewPicture(width, height, kPictureDepth), true, [&] {
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
  const OwnedBufferScope buffer{editor};
  PictureReference result = FinishedPicture(editor);
  ClosePictureEditor(editor);
  if (result) REALPictureClearCache(result.get());
  return result.Release();
}

REALpictureStruct* NewPictureWithAlphaChannel(int width, int height) {
  if (width < 1 || height < 1 || !MakesAlphaPictures()) return nullptr;
  HostReference<REALobjectStruct> instance(REALnewInstance("Picture"));
  if (!instance) return nullptr;
  const auto construct = reinterpret_cast<void (*)(REALobjectStruct*, long, long)>(
      REALLoadObjectMethod(instance.get(), "Constructor(width as integer, height as integer)"));
  if (construct == nullptr) return nullptr;
  construct(instance.get(), width, height);
  return reinterpret_cast<REALpictureStruct*>(instance.Release());
}

REALpictureStruct* NewPicture(int width, int height, signed char alpha) {
  if (width < 1 || height < 1) return nullptr;
  if (alpha != 0) {
    if (REALpictureStruct* const picture = NewPictureWithAlphaChannel(width, height)) {
      return picture;
    }
  }
  return REALNewPicture(width, height, kPictureDepth);
}

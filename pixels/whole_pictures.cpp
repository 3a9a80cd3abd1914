#include "pixels/whole_pictures.h"

#include <cstring>

#include "host/host_references.h"
#include "host/resolver.h"
#include "host/versions.h"
#include "pixels/description_lock.h"

using namespace velpicture;

namespace {

constexpr long kPictureDepth = 32;

constexpr char kDrawPictureDeclaration[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

struct DrawRectangles {
  long x, y, w, h;
  long sx, sy, sw, sh;
};

int GetSideLength(REALpictureStruct* picture, const char* property) {
  if (picture == nullptr) return 0;
  long length = 0;
  return REALGetPropValue(AsObject(picture), property, &length) ? length : 0;
}

/// Draws by the DrawPicture method of `graphics`; false, with nothing drawn, when it has none.
bool DrawByHost(REALgraphicsStruct* graphics, REALpictureStruct* source, const DrawRectangles& r) {
  if (graphics == nullptr || source == nullptr) return false;
  using DrawPicture = void (*)(REALgraphicsStruct*, REALpictureStruct*, long, long, long, long,
                               long, long, long, long);
  const auto draw = reinterpret_cast<DrawPicture>(
      REALLoadObjectMethod(AsObject(graphics), kDrawPictureDeclaration));
  if (draw == nullptr) {
    // Older hosts may have a drawing entry instead, whose arguments nobody has written down: asking
    // for it is part of the protocol, calling it is not.
    if (!DrawsByMethodOnly()) HCallResolver("RuntimeGraphicsDrawPicture");
    return false;
  }
  draw(graphics, source, r.x, r.y, r.w, r.h, r.sx, r.sy, r.sw, r.sh);
  return true;
}

bool CopyBlocks(const ConsolePixelBlock* target, const ConsolePixelBlock* source) {
  if (target == nullptr || source == nullptr) return false;
  if (target->width != source->width || target->height != source->height) return false;
  if (target->flags != 0 || source->flags != 0) return false;
  if (target->rowTable == nullptr || source->rowTable == nullptr) return false;
  if (source->width < 1) return true;
  const size_t pixelBytes = static_cast<size_t>(source->width) * 4;
  for (int row = 0; row < source->height; ++row) {
    std::memmove(target->rowTable[row], source->rowTable[row], pixelBytes);
  }
  return true;
}

const ConsolePixelBlock* BlockOf(const REALpictureDescription& description) {
  return static_cast<const ConsolePixelBlock*>(description.data);
}

/// A new picture of width x height with the picture's top left drawn into it by `draw`.
template <class Draw>
REALpictureStruct* NewCopy(REALpictureStruct* picture, int width, int height, Draw draw) {
  if (picture == nullptr) return nullptr;
  PictureReference copy(NewPicture(width, height, false));
  if (!copy) return nullptr;
  draw(copy.get());
  return copy.Release();
}

}  // namespace

int GetPictureWidth(REALpictureStruct* picture) { return GetSideLength(picture, "Width"); }

int GetPictureHeight(REALpictureStruct* picture) { return GetSideLength(picture, "Height"); }

bool PictureHasAlphaChannel(REALpictureStruct* picture) {
  unsigned char hasAlpha = 0;
  return REALGetPropValue(AsObject(picture), "HasAlphaChannel", &hasAlpha) && hasAlpha != 0;
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

REALpictureStruct* ClonePicture(REALpictureStruct* picture) {
  const int width = GetPictureWidth(picture);
  const int height = GetPictureHeight(picture);
  return ClonePicture(picture, width, height);
}

REALpictureStruct* ClonePicture(REALpictureStruct* picture, int width, int height) {
  return NewCopy(picture, width, height, [&](REALpictureStruct* copy) {
    const GraphicsReference graphics(REALGetPictureGraphics(copy));
    if (!graphics) return;
    GraphicsDrawPicture(graphics.get(), copy, picture, 0, 0, width, height, 0, 0, width, height);
  });
}

REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture) {
  const int width = GetPictureWidth(picture);
  const int height = GetPictureHeight(picture);
  return ClonePictureWithMask(picture, width, height);
}

REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture, int width, int height) {
  return NewCopy(picture, width, height, [&](REALpictureStruct* copy) {
    GraphicsDrawPicture(copy, picture, 0, 0, width, height, 0, 0, width, height);
    const PictureReference sourceMask(REALGetPictureMask(picture, 0));
    if (!sourceMask) return;
    const PictureReference copyMask(REALGetPictureMask(copy, 1));
    if (!copyMask) return;
    GraphicsDrawPicture(copyMask.get(), sourceMask.get(), 0, 0, width, height, 0, 0, width, height);
  });
}

REALpictureStruct* BitmapPicture(REALpictureStruct* picture) {
  return PictureReference::Retained(picture).Release();
}

bool GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* target,
                         REALpictureStruct* source, long x, long y, long w, long h, long sx,
                         long sy, long sw, long sh) {
  return DrawByHost(graphics, source, {x, y, w, h, sx, sy, sw, sh}) ||
         OwnCopy(target, source, x, y, w, h, sx, sy, sw, sh);
}

bool GraphicsDrawPicture(REALpictureStruct* target, REALpictureStruct* source, long x, long y,
                         long w, long h, long sx, long sy, long sw, long sh) {
  const GraphicsReference graphics(REALGetPictureGraphics(target));
  return GraphicsDrawPicture(graphics.get(), target, source, x, y, w, h, sx, sy, sw, sh);
}

bool OwnCopy(REALpictureStruct* target, REALpictureStruct* source, long x, long y, long w, long h,
             long sx, long sy, long sw, long sh) {
  if (target == nullptr || source == nullptr) return false;
  if (sw != w || sh != h || x != 0 || y != 0 || sx != 0 || sy != 0) return false;

  REALpictureDescription sourceDescription{};
  REALpictureDescription targetDescription{};
  bool copied = false;
  {
    const DescriptionLock sourceLock(source, sourceDescription, kStorageConsoleBlock);
    if (!sourceLock) return false;
    const DescriptionLock targetLock(target, targetDescription, kStorageConsoleBlock);
    copied = targetLock && CopyBlocks(BlockOf(targetDescription), BlockOf(sourceDescription));
  }
  REALPictureClearCache(target);
  return copied;
}

REALpictureStruct* rbClonePicture(REALpictureStruct* picture) { return ClonePicture(picture); }

REALpictureStruct* rbClonePicture2(REALpictureStruct* picture, long width, long height) {
  return ClonePicture(picture, static_cast<int>(width), static_cast<int>(height));
}

REALpictureStruct* rbBitmapPicture(REALpictureStruct* picture) { return BitmapPicture(picture); }

// The plain rule: pixel by pixel, format by format.

#include "transforms/pixel_moves.h"

#include <cstring>

namespace velpicture {
namespace {

/// Calls move(sourceFormat, targetFormat) with the formats' types.
template <class Move>
void VisitFormats(const PictureEditor& source, const PictureEditor& target, Move&& move) {
  VisitFormat(source.pixelType,
              [&](auto from) { VisitFormat(target.pixelType, [&](auto to) { move(from, to); }); });
}

template <class From, class To>
void MovePixel(const uint8_t* source, int x, uint8_t* target, int targetX) {
  To::Store(target + static_cast<ptrdiff_t>(targetX) * To::kBytesPerPixel,
            From::Load(source + static_cast<ptrdiff_t>(x) * From::kBytesPerPixel));
}

}  // namespace

void MirrorPixels(const PictureEditor& source, PictureEditor& target, bool flipColumns,
                  bool flipRows) {
  VisitFormats(source, target, [&]<class From, class To>(From, To) {
    for (int y = 0; y < source.height; ++y) {
      const uint8_t* from = RowAddress(source, y);
      uint8_t* to = RowAddress(target, flipRows ? source.height - 1 - y : y);
      for (int x = 0; x < source.width; ++x) {
        MovePixel<From, To>(from, x, to, flipColumns ? source.width - 1 - x : x);
      }
    }
  });
}

void TurnPixels(const PictureEditor& source, PictureEditor& target, QuarterTurn turn) {
  const bool clockwise = turn == QuarterTurn::kClockwise;
  VisitFormats(source, target, [&]<class From, class To>(From, To) {
    for (int y = 0; y < source.height; ++y) {
      const uint8_t* from = RowAddress(source, y);
      const int targetX = clockwise ? source.height - 1 - y : y;
      for (int x = 0; x < source.width; ++x) {
        uint8_t* to = RowAddress(target, clockwise ? x : source.width - 1 - x);
        MovePixel<From, To>(from, x, to, targetX);
      }
    }
  });
}

void ReverseRowsInPlace(PictureEditor& picture) {
  for (int y = 0; y < picture.height; ++y) {
    uint8_t* row = RowAddress(picture, y);
    for (int x = 0; x < picture.width / 2; ++x) {
      uint8_t* left = row + static_cast<ptrdiff_t>(x) * 4;
      uint8_t* right = row + static_cast<ptrdiff_t>(picture.width - 1 - x) * 4;
      const uint32_t word = LoadWord(left);
      StoreWord(left, LoadWord(right));
      StoreWord(right, word);
    }
  }
}

void FlipRowsInPlace(PictureEditor& picture, uint8_t* rowBuffer) {
  const size_t rowSize = static_cast<size_t>(picture.width > 0 ? picture.width : 0) * 4;
  for (int y = 0; y < picture.height / 2; ++y) {
    uint8_t* upper = RowAddress(picture, y);
    uint8_t* lower = RowAddress(picture, picture.height - 1 - y);
    std::memcpy(rowBuffer, upper, rowSize);
    std::memcpy(upper, lower, rowSize);
    std::memcpy(lower, rowBuffer, rowSize);
  }
}

void MirrorInPlace(PictureEditor& picture, uint8_t* rowBuffer) {
  FlipRowsInPlace(picture, rowBuffer);
  ReverseRowsInPlace(picture);
}

}  // namespace velpicture

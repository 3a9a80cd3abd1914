// The pixel moves a pixel at a time: what the other variants must equal, byte for byte.

#include <cstring>

#include "pixels/pixel_formats.h"
#include "transforms/kernels/move_kernels.h"

namespace velpicture::plain {
namespace {

template <PixelPath kPath>
void MovePixel(uint8_t* target, const uint8_t* source, WordMask mask) {
  if constexpr (kPath == kWordToWord) {
    StoreWord(target, (LoadWord(source) & mask.keep) | mask.set);
  } else if constexpr (kPath == kWidenAlpha) {
    Argb32Format::Store(target, ConsoleFormat::Load(source));
  } else if constexpr (kPath == kNarrowAlpha) {
    ConsoleFormat::Store(target, Argb32Format::Load(source));
  } else if constexpr (kPath == kRgbToWord) {
    Argb32Format::Store(target, Rgb24Format::Load(source));
    MovePixel<kWordToWord>(target, target, mask);
  } else if constexpr (kPath == kWordToRgb) {
    Rgb24Format::Store(target, Argb32Format::Load(source));
  } else {
    std::memcpy(target, source, 3);
  }
}

template <PixelPath kPath, bool kReverse>
void MoveRow(const RowMove& row) {
  for (ptrdiff_t i = 0; i < row.count; ++i) {
    MovePixel<kPath>(row.target + (kReverse ? row.count - 1 - i : i) * TargetBytes(kPath),
                     row.source + i * SourceBytes(kPath), row.mask);
  }
}

template <PixelPath kPath>
void Transpose(const TransposeBand& band) {
  for (ptrdiff_t row = 0; row < band.rowCount; ++row) {
    const uint8_t* const source = band.source + row * band.sourceStride;
    for (ptrdiff_t column = 0; column < band.columnCount; ++column) {
      MovePixel<kPath>(band.targetRows[column] + row * TargetBytes(kPath),
                       source + column * SourceBytes(kPath), band.mask);
    }
  }
}

void FinishStreaming() {}

void ExchangeWords(uint8_t* left, uint8_t* right) {
  const uint32_t word = LoadWord(left);
  StoreWord(left, LoadWord(right));
  StoreWord(right, word);
}

void Exchange(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t*, const uint8_t*) {
  for (ptrdiff_t i = 0; i < count; ++i) ExchangeWords(left + i * 4, right + i * 4);
}

void ExchangeReversed(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t*,
                      const uint8_t*) {
  for (ptrdiff_t i = 0; i < count; ++i) ExchangeWords(left + i * 4, right + (count - 1 - i) * 4);
}

template <PixelPath... kPaths>
constexpr MoveKernels KernelsFor() {
  return {
      .copyRow = {MoveRow<kPaths, false>...},
      .reverseRow = {MoveRow<kPaths, true>...},
      .transpose = {Transpose<kPaths>...},
      .finishStreaming = FinishStreaming,
      .exchange = Exchange,
      .exchangeReversed = ExchangeReversed,
  };
}

}  // namespace

const MoveKernels kMoveKernels =
    KernelsFor<kWordToWord, kWidenAlpha, kNarrowAlpha, kRgbToWord, kWordToRgb, kRgbToRgb>();

}  // namespace velpicture::plain

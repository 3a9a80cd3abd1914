// The pixel moves a word at a time: what the other variants must equal, byte for byte.

#include <cstring>

#include "pixels/pixel_formats.h"
#include "transforms/kernels/move_kernels.h"

namespace velpicture::plain {
namespace {

uint32_t Masked(const uint8_t* word, WordMask mask) {
  return (LoadWord(word) & mask.keep) | mask.set;
}

void CopyWords(uint8_t* target, const uint8_t* source, ptrdiff_t count, WordMask mask, Stores) {
  for (ptrdiff_t i = 0; i < count; ++i) StoreWord(target + i * 4, Masked(source + i * 4, mask));
}

void ReverseWords(uint8_t* target, const uint8_t* source, ptrdiff_t count, WordMask mask, Stores) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    StoreWord(target + i * 4, Masked(source + (count - 1 - i) * 4, mask));
  }
}

void Transpose(const TransposeBand& band) {
  for (int row = 0; row < band.rowCount; ++row) {
    const uint8_t* const source = band.source + row * band.sourceStride;
    for (int column = 0; column < band.columnCount; ++column) {
      StoreWord(band.targetRows[column] + static_cast<ptrdiff_t>(row) * 4,
                Masked(source + static_cast<ptrdiff_t>(column) * 4, band.mask));
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

template <class From, class To>
void Convert(uint8_t* target, const uint8_t* source, ptrdiff_t count) {
  for (ptrdiff_t i = 0; i < count; ++i) {
    To::Store(target + i * To::kBytesPerPixel, From::Load(source + i * From::kBytesPerPixel));
  }
}

}  // namespace

const MoveKernels kMoveKernels = {
    .copyWords = CopyWords,
    .reverseWords = ReverseWords,
    .transpose = Transpose,
    .finishStreaming = FinishStreaming,
    .exchange = Exchange,
    .exchangeReversed = ExchangeReversed,
    .widenRgb = Convert<Rgb24Format, Argb32Format>,
    .narrowRgb = Convert<Argb32Format, Rgb24Format>,
    .widenAlpha = Convert<ConsoleFormat, Argb32Format>,
    .narrowAlpha = Convert<Argb32Format, ConsoleFormat>,
};

}  // namespace velpicture::plain

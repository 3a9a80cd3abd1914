#pragma once

// The inner loops of the pixel moves. A kernel knows nothing of pictures: it gets row addresses,
// counts of pixels, and masks. One table of them exists per instruction set, in a namespace of its
// name; all tables give the same bytes.
//
// A word is one four-byte pixel, at any address. No kernel reads or writes outside the pixels it is
// given. Source and target do not overlap unless a contract says so. After streaming stores, and
// before anybody else looks at the target, call finishStreaming.

#include <cstddef>
#include <cstdint>

namespace velpicture {

/// What a word goes through on its way: stored = (loaded & keep) | set.
struct WordMask {
  uint32_t keep;
  uint32_t set;
};

/// How a target is written.
enum class Stores {
  kCached,     ///< through the cache: the target fits there, or is worked on again at once
  kStreaming,  ///< whole lines go past the cache: the picture is larger than it
};

/// A band of neighbouring source columns, which become rows of the target: the word in row r and
/// column c of the band becomes word r of target row c.
struct TransposeBand {
  static constexpr int kMaxColumns = 128;

  const uint8_t* source;   ///< the band's first word
  ptrdiff_t sourceStride;  ///< bytes from one row to the next, negative to walk upwards
  int rowCount;
  int columnCount;  ///< at most kMaxColumns
  WordMask mask;
  Stores stores;
  uint8_t* targetRows[kMaxColumns];  ///< first byte of each target row
};

struct MoveKernels {
  /// target[i] = source[i] under the mask.
  void (*copyWords)(uint8_t* target, const uint8_t* source, ptrdiff_t count, WordMask mask,
                    Stores stores);
  /// target[i] = source[count − 1 − i] under the mask.
  void (*reverseWords)(uint8_t* target, const uint8_t* source, ptrdiff_t count, WordMask mask,
                       Stores stores);
  void (*transpose)(const TransposeBand& band);
  void (*finishStreaming)();

  /// Exchanges word i of `left` with word i of `right`. Meanwhile as much memory is asked for at
  /// the addresses that are worked on next; they may be anything.
  void (*exchange)(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
                   const uint8_t* rightAhead);
  /// Exchanges word i of `left` with word count − 1 − i of `right`; as exchange.
  void (*exchangeReversed)(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
                           const uint8_t* rightAhead);

  /// Three-byte pixels (red, green, blue) to opaque words, and words to three-byte pixels.
  void (*widenRgb)(uint8_t* words, const uint8_t* rgb, ptrdiff_t count);
  void (*narrowRgb)(uint8_t* rgb, const uint8_t* words, ptrdiff_t count);
  /// Words with a 7-bit alpha to words with an 8-bit one, and back with bit 31 clear. The
  /// target may be the source.
  void (*widenAlpha)(uint8_t* words, const uint8_t* source, ptrdiff_t count);
  void (*narrowAlpha)(uint8_t* words, const uint8_t* source, ptrdiff_t count);
};

namespace plain {
extern const MoveKernels kMoveKernels;
}
namespace sse2 {
extern const MoveKernels kMoveKernels;
}
namespace avx2 {
extern const MoveKernels kMoveKernels;
}
namespace avx512 {
extern const MoveKernels kMoveKernels;
}

}  // namespace velpicture

#pragma once

// The inner loops of the pixel moves. A kernel knows nothing of pictures: it gets row addresses,
// counts of pixels, and how a pixel changes on its way. One table of them exists per instruction
// set, in a namespace of its name; all tables give the same bytes.
//
// A word is one four-byte pixel, at any address. No kernel reads or writes outside the pixels it is
// given. Source and target do not overlap unless a contract says so. After streaming stores, and
// before anybody else looks at the target, call finishStreaming.

#include <cstddef>
#include <cstdint>

namespace velpicture {

/// How a pixel of one format becomes a pixel of another.
enum PixelPath {
  kWordToWord,   ///< a word under the mask
  kWidenAlpha,   ///< a word with a 7-bit alpha to one with an 8-bit alpha
  kNarrowAlpha,  ///< a word with an 8-bit alpha to one with a 7-bit alpha, bit 31 clear
  kRgbToWord,    ///< three bytes (red, green, blue) to an opaque word, which the mask then changes
  kWordToRgb,    ///< a word to three bytes
  kRgbToRgb,     ///< three bytes as they are
};
constexpr int kPixelPaths = 6;

constexpr int SourceBytes(PixelPath path) {
  return path == kRgbToWord || path == kRgbToRgb ? 3 : 4;
}
constexpr int TargetBytes(PixelPath path) {
  return path == kWordToRgb || path == kRgbToRgb ? 3 : 4;
}

/// What a word goes through where its path says so: stored = (loaded & keep) | set.
struct WordMask {
  uint32_t keep;
  uint32_t set;
};

/// How a target of words is written; three-byte pixels always go through the cache.
enum class Stores {
  kCached,     ///< through the cache: the target fits there, or is worked on again at once
  kStreaming,  ///< whole lines go past the cache: the picture is larger than it
};

/// A row of pixels to move.
struct RowMove {
  uint8_t* target;
  const uint8_t* source;
  ptrdiff_t count;  ///< pixels
  WordMask mask;
  Stores stores;
  /// Bytes to the rows that are moved next, which are asked for meanwhile; they may be anywhere.
  ptrdiff_t targetAhead;
  ptrdiff_t sourceAhead;
};

/// A band of neighbouring source columns, which become rows of the target: the pixel in row r and
/// column c of the band becomes pixel r of target row c.
struct TransposeBand {
  static constexpr int kMaxColumns = 1024;

  const uint8_t* source;   ///< the band's first pixel
  ptrdiff_t sourceStride;  ///< bytes from one row to the next, negative to walk upwards
  int rowCount;
  int columnCount;  ///< at most kMaxColumns
  WordMask mask;
  Stores stores;
  uint8_t* const* targetRows;  ///< first byte of each target row
};

struct MoveKernels {
  /// Pixel i of the source becomes pixel i of the target.
  void (*copyRow[kPixelPaths])(const RowMove& row);
  /// Pixel i of the source becomes pixel count − 1 − i of the target.
  void (*reverseRow[kPixelPaths])(const RowMove& row);
  void (*transpose[kPixelPaths])(const TransposeBand& band);
  void (*finishStreaming)();

  /// Exchanges word i of `left` with word i of `right`. Meanwhile as much memory is asked for at
  /// the addresses that are worked on next; they may be anything.
  void (*exchange)(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
                   const uint8_t* rightAhead);
  /// Exchanges word i of `left` with word count − 1 − i of `right`; as exchange.
  void (*exchangeReversed)(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
                           const uint8_t* rightAhead);
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

#pragma once

// The kernels: the inner loops of the transforms, and what they are asked to do. A kernel knows
// nothing of pictures: it gets row addresses, counts of pixels, formats and weights. One table of
// them exists per variant, in a namespace of its name (variants.def); all give the same bytes.
//
// Nothing outside the pixels that are named is read or written. A source and its target do not
// overlap. Pixels are four-byte words, at any address, or three bytes; formats are codes of
// PixelType. Colours are words 0xAARRGGBB of 8-bit channels.

#include <cstddef>
#include <cstdint>

#include "transforms/select_kernels.h"

namespace velpicture {

/// How pixels are loaded and stored: as GetPixel and SetPixel would.
struct FormatPair {
  uint32_t source;
  uint32_t target;
};

/// How a target is written.
enum class Stores {
  kCached,     ///< through the cache: the target fits there, or is worked on again at once
  kStreaming,  ///< past the cache where whole lines are written; an _mm_sfence has to follow
};

/// A row of pixels to move.
struct RowMove {
  uint8_t* target;
  const uint8_t* source;
  ptrdiff_t count;  ///< pixels
  FormatPair formats;
  Stores stores;
  /// Bytes to the source row that is moved next, which is asked for meanwhile; it may be anywhere.
  ptrdiff_t sourceAhead;
};

/// A band of neighbouring source columns, which become rows of the target: the pixel in row r and
/// column c of the band becomes pixel r of target row c.
struct TransposeBand {
  const uint8_t* source;   ///< the band's first pixel
  ptrdiff_t sourceStride;  ///< bytes from one row to the next, negative to walk upwards
  int rowCount;
  int columnCount;
  FormatPair formats;
  Stores stores;
  uint8_t* const* targetRows;  ///< first byte of each target row
};

/// How a line is sheared, by the rule in transforms/shear.h.
struct ShearLine {
  int offset;           ///< whole places
  double weight;        ///< fraction of a place, 0 to 1
  uint16_t multiplier;  ///< that goes with the weight (see shear_multiplier.h)
};

/// One row to shear.
struct RowShear {
  const uint8_t* source;
  int sourceWidth;
  uint8_t* target;
  int targetWidth;
  FormatPair formats;
  int offset;  ///< -sourceWidth - 1 to targetWidth
  double weight;
  uint16_t multiplier;
  uint32_t background;
};

/// Entries that a table of source rows has behind those that its columns need.
constexpr int kMostExtraLag = 3;

/// Neighbouring columns to shear, in a band of rows. In the band's row t, column j blends its
/// pixels of sourceRows[LagOf(j) + t] and of the row before that one.
struct ColumnShear {
  /// Address of the first column in each row; null where the background stands in. kMostExtraLag
  /// nulls follow, since a lane may read that far.
  const uint8_t* const* sourceRows;
  int sourceRowsBegin;         ///< the first row that exists
  int sourceRowsEnd;           ///< one behind the last
  uint8_t* const* targetRows;  ///< at the first column
  int rowCount;
  FormatPair formats;
  const ShearLine* columns;
  int columnCount;
  int greatestOffset;
  uint32_t background;

  int LagOf(int column) const { return greatestOffset - columns[column].offset + 1; }
};

struct Kernels {
  const char* name;
  /// Pixel i of the source becomes pixel i of the target.
  void (*copyRow)(const RowMove& row);
  /// Pixel i of the source becomes pixel count − 1 − i of the target.
  void (*reverseRow)(const RowMove& row);
  void (*transpose)(const TransposeBand& band);
  /// Exchanges word i of `left` with word i of `right`. Meanwhile as much memory is asked for at
  /// the addresses that are worked on next; they may be anything.
  void (*exchange)(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
                   const uint8_t* rightAhead);
  /// Exchanges word i of `left` with word count − 1 − i of `right`; as exchange.
  void (*exchangeReversed)(uint8_t* left, uint8_t* right, ptrdiff_t count, const uint8_t* leftAhead,
                           const uint8_t* rightAhead);
  void (*shearRow)(const RowShear& row);
  void (*shearColumns)(const ColumnShear& columns);
};

#define VEL_VARIANT(name, flags, runsHere) \
  namespace name {                         \
  extern const Kernels kKernels;           \
  }
#include "transforms/kernels/variants.def"
#undef VEL_VARIANT

/// The selected kernels; at first use the widest that the processor and its system support.
const Kernels& SelectedKernels();

}  // namespace velpicture

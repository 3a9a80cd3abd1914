#pragma once

// The inner loops of the shears. A kernel knows nothing of pictures: it gets row addresses, counts
// of pixels, formats and weights. One table of them exists per instruction set, in a namespace of
// its name; all tables give the same bytes, those of the rule in transforms/shear.h.
//
// Formats are codes of PixelType. Nothing outside the pixels that are named is read or written, and
// source and destination never overlap. Colours are words 0xAARRGGBB of 8-bit channels.

#include <cstdint>

namespace velpicture {

struct ShearLine {
  int offset;     ///< whole places
  double weight;  ///< fraction of a place, 0 to 1
};

/// Stands in place of a multiplier where none is exact (see shear_multiplier.h): the products must
/// be formed in double.
constexpr uint16_t kNoMultiplier = 0xFFFF;

/// One row.
struct RowShear {
  const uint8_t* source;
  int sourceWidth;
  uint32_t sourceType;
  uint8_t* destination;
  int destinationWidth;
  uint32_t destinationType;
  int offset;  ///< -sourceWidth - 1 to destinationWidth
  double weight;
  uint16_t multiplier;
  uint32_t background;
  bool streaming;  ///< the destination picture is larger than the cache: whole lines go past it
};

/// Neighbouring columns of a band of rows. In the band's row t, column j blends its pixels of
/// sourceRows[delays[j] + t] and of the row before that one.
struct ColumnShear {
  /// At the first column. Null in front of the picture and behind it: there the background stands
  /// in.
  const uint8_t* const* sourceRows;
  uint32_t sourceType;
  uint8_t* const* destinationRows;  ///< at the first column
  uint32_t destinationType;
  int rowCount;
  int columnCount;
  const int* delays;       ///< at least 1
  const ShearLine* lines;  ///< the weights; offsets are in the delays
  const uint16_t* multipliers;
  uint32_t background;
  bool streaming;
};

struct ShearKernels {
  /// What goes with a weight of 0 to 1 into `multiplier` and `multipliers`.
  uint16_t (*multiplier)(double weight);
  void (*shearRow)(const RowShear& row);
  void (*shearColumns)(const ColumnShear& columns);
};

// Every instruction set that kernels are built for.
namespace plain {
extern const ShearKernels kShearKernels;
}
namespace sse2 {
extern const ShearKernels kShearKernels;
}
namespace avx2 {
extern const ShearKernels kShearKernels;
}
namespace avx512 {
extern const ShearKernels kShearKernels;
}

}  // namespace velpicture

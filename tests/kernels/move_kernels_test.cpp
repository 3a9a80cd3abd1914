// The vector variants of the pixel moves against the plain ones, byte for byte, and the moves of
// whole pictures, under every variant, against the formats' own Load and Store. Targets are
// poisoned, and every failure prints its case.

#include <emmintrin.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "pixels/pixel_formats.h"
#include "tests/kernels/guarded_bytes.h"
#include "transforms/kernels/kernels.h"
#include "transforms/kernels/variant_names.h"
#include "transforms/pixel_moves.h"

namespace velpicture {
namespace {

constexpr uint32_t kFormats[] = {kPixelConsole, kPixelRgb24, kPixelArgb32, kPixelRgb32};

/// Every kind of pixels on both sides; whole pictures show what other formats change.
constexpr FormatPair kPairs[] = {{14, 14}, {8, 14}, {14, 8}, {8, 8}, {11, 15}, {14, 11}, {11, 11}};

int BytesOf(uint32_t format) { return format == kPixelRgb24 ? 3 : 4; }

struct NoisyBytes : GuardedBytes {
  NoisyBytes(size_t size, size_t gap, bool atEnd, uint32_t seed) : GuardedBytes(size, gap, atEnd) {
    std::minstd_rand random(seed + 1);
    Fill([&] { return static_cast<uint8_t>(random() >> 8); });
  }
};

/// The moves of whole pictures, under every variant.
class PictureMovesTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!SelectKernels(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
    kernels_ = &SelectedKernels();
  }

  const Kernels* kernels_ = nullptr;
};

/// The vector variants beside the plain one.
class MoveKernelsTest : public PictureMovesTest {
 protected:
  /// Runs run(kernels) with the plain kernels and with the variant's on the same bytes.
  template <class Run>
  void ExpectSameMoves(GuardedBytes& bytes, Run run) {
    ExpectSameBytes(
        bytes, [&] { run(plain::kKernels); },
        [&] {
          run(*kernels_);
          _mm_sfence();
        });
  }
};

TEST_P(MoveKernelsTest, RowsOfEveryWidthAndAlignment) {
  for (int width = 0; width <= 4 * 16 + 1; ++width) {
    for (const int offset : {0, 4, 8, 20, 32, 60, 1, 2, 63}) {
      for (const bool atEnd : {false, true}) {
        for (const FormatPair& formats : kPairs) {
          SCOPED_TRACE(testing::Message()
                       << "width " << width << " offset " << offset << " formats " << formats.source
                       << " to " << formats.target << (atEnd ? " at the end" : ""));
          NoisyBytes source(static_cast<size_t>(width) * BytesOf(formats.source), (offset * 7) % 64,
                            !atEnd, 1);
          NoisyBytes target(static_cast<size_t>(width) * BytesOf(formats.target), offset, atEnd, 2);
          for (const Stores stores : {Stores::kCached, Stores::kStreaming}) {
            const RowMove row = {target.data(), source.data(), width, formats, stores, -4096};
            for (const auto move : {&Kernels::copyRow, &Kernels::reverseRow}) {
              ExpectSameMoves(target, [&](const Kernels& kernels) { (kernels.*move)(row); });
            }
          }
          if (HasFatalFailure()) return;
        }
        NoisyBytes words(static_cast<size_t>(width) * 4, offset, atEnd, 3);
        const int half = width / 2;
        uint8_t* const right = words.data() + (width - half) * 4;
        ExpectSameMoves(words, [&](const Kernels& kernels) {
          kernels.exchange(words.data(), right, half, nullptr, right);
        });
        ExpectSameMoves(words, [&](const Kernels& kernels) {
          kernels.exchangeReversed(words.data(), right, half, right, nullptr);
        });
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_P(MoveKernelsTest, TransposesOfEverySizeAndAlignment) {
  for (const int columns : {0, 1, 3, 4, 5, 6, 8, 63, 130, 300}) {
    for (const int rows : {0, 1, 15, 16, 17, 33, 64, 129, 300}) {
      for (const int shift : {0, 4, 60, 2}) {
        // Strides beyond the pixels; target rows 2048 bytes apart collide in the caches.
        for (const bool collide : {false, true}) {
          for (const FormatPair& formats : kPairs) {
            const int sourceBytes = BytesOf(formats.source), targetBytes = BytesOf(formats.target);
            const ptrdiff_t sourceStride = columns * sourceBytes + 12;
            const ptrdiff_t targetStride =
                collide ? 2048 : rows * targetBytes + (shift == 0 ? 0 : 20);
            SCOPED_TRACE(testing::Message() << columns << " columns, " << rows << " rows, shift "
                                            << shift << ", formats " << formats.source << " to "
                                            << formats.target << ", stride " << targetStride);
            NoisyBytes source(rows > 0 ? sourceStride * (rows - 1) + columns * sourceBytes : 0,
                              shift, shift != 4, 4);
            NoisyBytes target(columns > 0 ? targetStride * (columns - 1) + rows * targetBytes : 0,
                              shift, shift == 4, 5);
            TransposeBand band;
            band.rowCount = rows;
            band.columnCount = columns;
            band.formats = formats;
            const bool upwards = rows % 2 == 1;
            band.source = upwards ? source.data() + sourceStride * (rows - 1) : source.data();
            band.sourceStride = upwards ? -sourceStride : sourceStride;
            std::vector<uint8_t*> targetRows;
            for (int i = 0; i < columns; ++i) {
              targetRows.push_back(target.data() + targetStride * (upwards ? columns - 1 - i : i));
            }
            band.targetRows = targetRows.data();
            for (const Stores stores : {Stores::kCached, Stores::kStreaming}) {
              band.stores = stores;
              ExpectSameMoves(target, [&](const Kernels& kernels) { kernels.transpose(band); });
              if (HasFatalFailure()) return;
            }
          }
        }
      }
    }
  }
}

/// A picture with so many bytes of padding behind each row, four-byte words wherever they lie; the
/// last row ends with its pixels but in a surface, which holds whole rows. A console picture's rows
/// lie in no order and have no padding of their own.
struct TestPicture {
  TestPicture(uint32_t type, int width, int height, int padding, uint32_t seed, bool scattered)
      : editor{},
        bytes(height > 0
                  ? Stride(type, width, padding) * (height - 1) +
                        (type == kPixelArgb32 || type == kPixelRgb32 ? Stride(type, width, padding)
                                                                     : width * BytesOf(type))
                  : 0,
              seed % 16 * 4, seed % 2 == 0, seed) {
    editor.pixelType = type;
    editor.width = width;
    editor.height = height;
    editor.bytesPerPixel = BytesOf(type);
    const ptrdiff_t stride = Stride(type, width, padding);
    editor.rowBytes = type == kPixelConsole ? width * 4 : static_cast<int32_t>(stride);
    editor.pixels = editor.baseAddress = bytes.data();
    for (int y = 0; y < height; ++y) {
      // Step 7 visits every row of a picture whose height is no multiple of 7.
      const int place = scattered && height % 7 != 0 ? y * 7 % height : y;
      rowTable.push_back(bytes.data() + static_cast<ptrdiff_t>(place) * stride);
    }
    if (type == kPixelConsole) editor.rowTable = rowTable.data();
  }
  static ptrdiff_t Stride(uint32_t type, int width, int padding) {
    return (width * BytesOf(type) + 3) / 4 * 4 + padding;
  }

  PictureEditor editor;
  NoisyBytes bytes;
  std::vector<uint8_t*> rowTable;
};

struct Move {
  const char* name;
  void (*run)(const PictureEditor& source, PictureEditor& target);
  bool turns;
  int (*targetX)(const PictureEditor& source, int x, int y);
  int (*targetY)(const PictureEditor& source, int x, int y);
};

int Left(const PictureEditor&, int x, int) { return x; }
int Top(const PictureEditor&, int, int y) { return y; }
int Right(const PictureEditor& source, int x, int) { return source.width - 1 - x; }
int Bottom(const PictureEditor& source, int, int y) { return source.height - 1 - y; }

const Move kMoves[] = {
    {"copy", [](auto& s, auto& t) { MirrorPixels(s, t, false, false); }, false, Left, Top},
    {"columns", [](auto& s, auto& t) { MirrorPixels(s, t, true, false); }, false, Right, Top},
    {"rows", [](auto& s, auto& t) { MirrorPixels(s, t, false, true); }, false, Left, Bottom},
    {"both", [](auto& s, auto& t) { MirrorPixels(s, t, true, true); }, false, Right, Bottom},
    {"left turn", [](auto& s, auto& t) { TurnPixels(s, t, QuarterTurn::kCounterClockwise); }, true,
     Top, Right},
    {"right turn", [](auto& s, auto& t) { TurnPixels(s, t, QuarterTurn::kClockwise); }, true,
     Bottom, Left},
};

void ExpectMoved(const Move& move, uint32_t from, uint32_t to, int width, int height, int padding) {
  SCOPED_TRACE(testing::Message() << move.name << " of " << width << " x " << height << ", format "
                                  << from << " to " << to << ", padding " << padding);
  const uint32_t seed = static_cast<uint32_t>(width * 31 + height + padding);
  TestPicture source(from, width, height, padding, seed, padding % 2 == 1);
  TestPicture target(to, move.turns ? height : width, move.turns ? width : height, 20 - padding,
                     seed + 1, padding % 3 == 1);
  const std::vector<uint8_t> before = target.bytes.Copy();
  VisitFormat(from, [&]<class From>(From) {
    VisitFormat(to, [&]<class To>(To) {
      for (int y = 0; y < height; ++y) {
        if (move.targetX == Left && from == to && To::kBytesPerPixel == 4) {
          std::memcpy(RowAddress(target.editor, move.targetY(source.editor, 0, y)),
                      RowAddress(source.editor, y),
                      std::min(source.editor.rowBytes, target.editor.rowBytes));
          continue;
        }
        for (int x = 0; x < width; ++x) {
          To::Store(
              RowAddress(target.editor, move.targetY(source.editor, x, y)) +
                  static_cast<ptrdiff_t>(move.targetX(source.editor, x, y)) * To::kBytesPerPixel,
              From::Load(RowAddress(source.editor, y) +
                         static_cast<ptrdiff_t>(x) * From::kBytesPerPixel));
        }
      }
    });
  });
  const std::vector<uint8_t> expected = target.bytes.Copy();
  target.bytes.Restore(before);
  move.run(source.editor, target.editor);
  ASSERT_TRUE(target.bytes.Copy() == expected);
}

TEST_P(PictureMovesTest, OfEveryFormatPair) {
  const int sides[][2] = {{0, 0}, {0, 3},   {3, 0},   {1, 1},    {1, 40},    {40, 1},
                          {7, 5}, {64, 16}, {65, 33}, {129, 70}, {1030, 17}, {40, 256}};
  for (const Move& move : kMoves) {
    for (const uint32_t from : kFormats) {
      for (const uint32_t to : kFormats) {
        for (const auto& side : sides) {
          for (const int padding : {0, 7, 16}) {
            ExpectMoved(move, from, to, side[0], side[1], padding);
            if (HasFatalFailure()) return;
          }
        }
      }
    }
  }
}

TEST_P(MoveKernelsTest, PicturesLargerThanTheCache) {
  for (const Move& move : kMoves) {
    SCOPED_TRACE(move.name);
    constexpr int kWidth = 2101, kHeight = 2003;
    TestPicture source(kPixelRgb32, kWidth, kHeight, 0, 1, false);
    TestPicture target(kPixelRgb32, move.turns ? kHeight : kWidth, move.turns ? kWidth : kHeight, 4,
                       2, false);
    const auto runWith = [&](const char* kernels) {
      ASSERT_TRUE(SelectKernels(kernels));
      move.run(source.editor, target.editor);
    };
    ExpectSameBytes(
        target.bytes, [&] { runWith("plain"); }, [&] { runWith(GetParam()); });
    if (HasFatalFailure()) return;
  }
}

TEST_P(PictureMovesTest, InPlace) {
  struct {
    void (*run)(PictureEditor&);
    bool flipColumns, flipRows;
  } const mirrors[] = {{ReverseRowsInPlace, true, false},
                       {[](auto& p) { FlipRowsInPlace(p); }, false, true},
                       {[](auto& p) { MirrorInPlace(p); }, true, true}};
  for (const auto& mirror : mirrors) {
    for (const auto& side : {std::pair{0, 0}, {1, 1}, {1, 2}, {2, 1}, {3, 3}, {67, 8}, {130, 31}}) {
      for (const uint32_t type : {kPixelConsole, kPixelArgb32}) {
        const auto [width, height] = side;
        SCOPED_TRACE(testing::Message()
                     << type << ": " << width << " x " << height << ", " << mirror.flipColumns);
        TestPicture picture(type, width, height, type == kPixelConsole ? 12 : 13, 9, true);
        const std::vector<uint8_t> before = picture.bytes.Copy();
        const auto wordAt = [&](int x, int y) { return RowAddress(picture.editor, y) + x * 4; };
        std::vector<uint8_t> expected = before;
        // Whole rows change places with their padding, bytes of the last word included.
        const bool whole = !mirror.flipColumns;
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < (whole ? 1 : width); ++x) {
            std::memcpy(expected.data() + (wordAt(mirror.flipColumns ? width - 1 - x : x,
                                                  mirror.flipRows ? height - 1 - y : y) -
                                           picture.bytes.data()),
                        wordAt(x, y), whole ? picture.editor.rowBytes : 4);
          }
        }
        mirror.run(picture.editor);
        ASSERT_TRUE(picture.bytes.Copy() == expected);
      }
    }
  }
}

std::string NameOf(const testing::TestParamInfo<const char*>& variant) { return variant.param; }

INSTANTIATE_TEST_SUITE_P(Variants, MoveKernelsTest,  // Plain, the last, is what the others equal.
                         testing::ValuesIn(kVariantNames, std::end(kVariantNames) - 1), NameOf);
INSTANTIATE_TEST_SUITE_P(Variants, PictureMovesTest, testing::ValuesIn(kVariantNames), NameOf);

TEST(SelectKernelsTest, RefusesUnknownNames) {
  ASSERT_TRUE(SelectKernels("plain"));
  EXPECT_FALSE(SelectKernels("avx"));
  EXPECT_FALSE(SelectKernels(""));
  EXPECT_FALSE(SelectKernels(nullptr));
  EXPECT_STREQ("plain", SelectedKernels().name);
}

}  // namespace
}  // namespace velpicture

// The vector variants of the pixel moves against the plain ones, byte for byte, and the moves of
// whole pictures, under every variant, against the formats' own Load and Store. Targets are
// poisoned, and every failure prints its case.

#include <cstring>

#include "tests/kernels/kernels_test.h"
#include "transforms/pixel_moves.h"

namespace velpicture {
namespace {

struct MoveKernels : KernelsTest {};
struct PictureMoves : KernelsTest {};
INSTANTIATE_TEST_SUITE_P(Variants, MoveKernels, kVectorVariants, NameOf);
INSTANTIATE_TEST_SUITE_P(Variants, PictureMoves, kVariants, NameOf);

/// Every layout on both sides; whole pictures show what other formats change.
constexpr FormatPair kPairs[] = {{kPixelArgb32, kPixelArgb32},  {kPixelConsole, kPixelArgb32},
                                 {kPixelArgb32, kPixelConsole}, {kPixelConsole, kPixelConsole},
                                 {kPixelRgb24, kPixelRgb32},    {kPixelArgb32, kPixelRgb24},
                                 {kPixelRgb24, kPixelRgb24}};
constexpr Stores kStores[] = {Stores::kCached, Stores::kStreaming};

constexpr int kOffsets[] = {0, 4, 8, 20, 32, 60, 1, 2, 63};
constexpr int kMostWidth = 4 * 16 + 1;

TEST_P(MoveKernels, RowsOfEveryWidthAndAlignment) {
  Random random(1);
  const auto check = [&](int offset, bool atEnd, const FormatPair& formats, Stores stores) {
    for (int width = 0; width <= kMostWidth; ++width) {
      SCOPED_TRACE(testing::Message()
                   << "width " << width << " offset " << offset << " formats "
                   << testing::PrintToString(formats) << (atEnd ? " at the end" : ""));
      GuardedBytes source(size_t(width) * BytesOf(formats.source), offset * 7 % 64, !atEnd, random);
      GuardedBytes target(size_t(width) * BytesOf(formats.target), offset, atEnd, random);
      const RowMove row = {target.data(), source.data(), width, formats, stores, -4096};
      for (const auto move : {&Kernels::copyRow, &Kernels::reverseRow}) {
        ExpectAsPlain(target, [&](const Kernels& kernels) { (kernels.*move)(row); });
      }
    }
  };
  Combine(check, kOffsets, kEither, kPairs, kStores);
}

TEST_P(MoveKernels, ExchangesOfEveryWidthAndAlignment) {
  Random random(4);
  const auto check = [&](int offset, bool atEnd) {
    for (int width = 0; width <= kMostWidth; ++width) {
      SCOPED_TRACE(testing::Message() << "width " << width << " offset " << offset);
      GuardedBytes words(size_t(width) * 4, offset, atEnd, random);
      const int half = width / 2;
      uint8_t* const right = words.data() + (width - half) * 4;
      for (const auto exchange : {&Kernels::exchange, &Kernels::exchangeReversed}) {
        ExpectAsPlain(words, [&](const Kernels& kernels) {
          (kernels.*exchange)(words.data(), right, half, nullptr, right);
        });
      }
    }
  };
  Combine(check, kOffsets, kEither);
}

TEST_P(MoveKernels, TransposesOfEverySizeAndAlignment) {
  constexpr int kColumns[] = {0, 1, 3, 4, 5, 6, 8, 63, 130, 300};
  constexpr int kRows[] = {0, 1, 15, 16, 17, 33, 64, 129, 145, 300};
  constexpr int kShifts[] = {0, 4, 60, 2};
  Random random(2);
  // Strides beyond the pixels; target rows 2048 bytes apart collide in the caches.
  const auto check = [&](int columns, int rows, int shift, bool collide, const FormatPair& formats,
                         Stores stores) {
    const int sourceBytes = BytesOf(formats.source), targetBytes = BytesOf(formats.target);
    const ptrdiff_t sourceStride = columns * sourceBytes + 12;
    const ptrdiff_t targetStride = collide ? 2048 : rows * targetBytes + (shift == 0 ? 0 : 20);
    SCOPED_TRACE(testing::Message()
                 << columns << " columns, " << rows << " rows, shift " << shift << ", formats "
                 << testing::PrintToString(formats) << ", stride " << targetStride);
    GuardedBytes source(rows > 0 ? sourceStride * (rows - 1) + columns * sourceBytes : 0, shift,
                        shift != 4, random);
    GuardedBytes target(columns > 0 ? targetStride * (columns - 1) + rows * targetBytes : 0, shift,
                        shift == 4, random);
    const bool upwards = rows % 2 == 1;
    std::vector<uint8_t*> targetRows;
    for (int i = 0; i < columns; ++i) {
      targetRows.push_back(target.data() + targetStride * (upwards ? columns - 1 - i : i));
    }
    const TransposeBand band = {source.data() + (upwards ? sourceStride * (rows - 1) : 0),
                                upwards ? -sourceStride : sourceStride,
                                rows,
                                columns,
                                formats,
                                stores,
                                targetRows.data()};
    ExpectAsPlain(target, [&](const Kernels& kernels) { kernels.transpose(band); });
  };
  Combine(check, kColumns, kRows, kShifts, kEither, kPairs, kStores);
}

struct PictureMove {
  const char* name;
  model::Move move;
  bool inPlace;
  void (*run)(const PictureEditor& source, PictureEditor& target);
};

const PictureMove kMoves[] = {
    {"copy", model::kCopy, false, [](auto& s, auto& t) { MirrorPixels(s, t, false, false); }},
    {"columns", model::kFlipColumns, false,
     [](auto& s, auto& t) { MirrorPixels(s, t, true, false); }},
    {"rows", model::kFlipRows, false, [](auto& s, auto& t) { MirrorPixels(s, t, false, true); }},
    {"both", model::kTurns[2], false, [](auto& s, auto& t) { MirrorPixels(s, t, true, true); }},
    {"left turn", model::kTurns[1], false,
     [](auto& s, auto& t) { TurnPixels(s, t, QuarterTurn::kCounterClockwise); }},
    {"right turn", model::kTurns[3], false,
     [](auto& s, auto& t) { TurnPixels(s, t, QuarterTurn::kClockwise); }},
    {"columns in place", model::kFlipColumns, true, [](auto&, auto& t) { ReverseRowsInPlace(t); }},
    {"rows in place", model::kFlipRows, true, [](auto&, auto& t) { FlipRowsInPlace(t); }},
    {"both in place", model::kTurns[2], true, [](auto&, auto& t) { MirrorInPlace(t); }},
};

/// The move a pixel at a time. In place, words move as they are; rows of four-byte pixels that stay
/// in one piece do so with their padding.
void MovePlainly(const PictureMove& each, TestPicture& source, TestPicture& target) {
  const PictureEditor &from = source.editor, &to = target.editor;
  const model::Move& move = each.move;
  if (!move.swapsSides && !move.flipsColumns && from.pixelType == to.pixelType &&
      to.bytesPerPixel == 4) {
    for (int y = 0; y < from.height; ++y) {
      std::memcpy(target.Pixel(0, move.flipsRows ? from.height - 1 - y : y), source.Pixel(0, y),
                  std::min(from.rowBytes, to.rowBytes));
    }
    return;
  }
  move.ForEachPixel(source.size(), [&](int x, int y, int toX, int toY) {
    if (each.inPlace) {
      std::memcpy(target.Pixel(toX, toY), source.Pixel(x, y), 4);
    } else {
      target.Store(toX, toY, source.Load(x, y));
    }
  });
}

TEST_P(PictureMoves, PutPixelsOfEveryFormatWhereTheyBelong) {
  constexpr model::Size kSizes[] = {{0, 0}, {0, 3},   {3, 0},   {1, 1},    {1, 40},    {40, 1},
                                    {7, 5}, {64, 16}, {65, 33}, {129, 70}, {1030, 17}, {40, 256}};
  constexpr int kPaddings[] = {0, 7, 16};
  uint32_t seed = 0;
  const auto check = [&](const PictureMove& each, uint32_t from, uint32_t to,
                         const model::Size& sides, int padding) {
    if (each.inPlace && (from != to || BytesOf(from) != 4)) return;
    SCOPED_TRACE(testing::Message()
                 << each.name << " of " << sides.width << " x " << sides.height << ", format "
                 << from << " to " << to << ", padding " << padding);
    Random random(++seed), sameRandom(seed);
    TestPicture source(random, from, sides.width, sides.height, padding);
    const model::Size size = each.move.Of(sides);
    TestPicture target(each.inPlace ? sameRandom : random, to, size.width, size.height,
                       each.inPlace ? padding : 20 - padding);
    ExpectSameBytes(
        target.bytes, [&] { MovePlainly(each, source, target); },
        [&] { each.run(source.editor, target.editor); });
  };
  Combine(check, kMoves, kFormats, kFormats, kSizes, kPaddings);
}

TEST_P(MoveKernels, PicturesLargerThanTheCache) {
  Random random(3);
  for (const PictureMove& each : kMoves) {
    SCOPED_TRACE(each.name);
    constexpr model::Size kSize = {2101, 2003};
    const auto [width, height] = each.move.Of(kSize);
    TestPicture source(random, kPixelRgb32, kSize.width, kSize.height, 0);
    TestPicture target(random, kPixelRgb32, width, height, 4);
    ExpectAsPlain(target.bytes, [&](const Kernels&) { each.run(source.editor, target.editor); });
    if (HasFatalFailure()) return;
  }
}

TEST(SelectKernelsTest, RefusesUnknownNames) {
  ASSERT_TRUE(SelectKernels("plain"));
  for (const char* const name : {"avx", "", static_cast<const char*>(nullptr)}) {
    EXPECT_FALSE(SelectKernels(name));
  }
  EXPECT_STREQ("plain", SelectedKernels().name);
}

}  // namespace
}  // namespace velpicture

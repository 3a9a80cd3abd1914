// The vector variants of the pixel moves against the plain ones, byte for byte, and the moves of
// whole pictures, under every variant, against the formats' own Load and Store. Memory ends at
// pages that may not be touched, targets are poisoned, and every failure prints its case.

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "transforms/kernels/kernels.h"
#include "transforms/pixel_moves.h"

namespace velpicture {
namespace {

constexpr uint32_t kFormats[] = {kPixelConsole, kPixelRgb24, kPixelArgb32, kPixelRgb32};
constexpr WordMask kMasks[] = {{0xFFFFFFFF, 0}, {0x7FFFFFFF, 0}, {0x00FFFFFF, 0xFF000000}};

/// Random bytes: `size` of them at a place of the caller's choice from pages that may not be
/// touched.
class FencedBytes {
 public:
  /// `gap` bytes lie between the bytes and the page before them, or behind them where `atEnd`.
  FencedBytes(size_t size, size_t gap, bool atEnd, uint32_t seed)
      : page_(sysconf(_SC_PAGESIZE)),
        size_(size),
        inside_((size + gap + page_ - 1) / page_ * page_) {
    auto& kept = Kept()[inside_];
    if (kept.empty()) {
      base_ = static_cast<uint8_t*>(
          mmap(nullptr, inside_ + 2 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
      mprotect(base_ + page_, inside_, PROT_READ | PROT_WRITE);
    } else {
      base_ = kept.back();
      kept.pop_back();
    }
    bytes_ = base_ + page_ + (atEnd ? inside_ - size - gap : gap);
    std::minstd_rand random(seed + 1);
    for (size_t i = 0; i < size; ++i) {
      // Large memory repeats itself, at a distance that no row or column has.
      bytes_[i] = i < 8191 ? static_cast<uint8_t>(random() >> 8) : bytes_[i - 8191];
    }
  }
  FencedBytes(const FencedBytes&) = delete;
  FencedBytes& operator=(const FencedBytes&) = delete;
  ~FencedBytes() { Kept()[inside_].push_back(base_); }
  uint8_t* data() { return bytes_; }
  std::vector<uint8_t> Copy() const { return {bytes_, bytes_ + size_}; }
  void CopyTo(std::vector<uint8_t>& bytes) const { bytes.assign(bytes_, bytes_ + size_); }
  void Restore(const std::vector<uint8_t>& bytes) { std::copy(bytes.begin(), bytes.end(), bytes_); }

 private:
  /// Memory is mapped once and used again: an emulator hands out ever new addresses, and in the end
  /// those where the address sanitizer keeps its records.
  static std::map<size_t, std::vector<uint8_t*>>& Kept() {
    static std::map<size_t, std::vector<uint8_t*>> kept;
    return kept;
  }

  size_t page_, size_, inside_;
  uint8_t* base_;
  uint8_t* bytes_;
};

class MoveKernelsTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!SelectKernels(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
    moves_ = &SelectedKernels().moves;
  }

  /// Runs run(kernels) with the plain kernels and with the variant's on the same bytes.
  template <class Run>
  void ExpectSameBytes(FencedBytes& bytes, Run run) {
    bytes.CopyTo(before_);
    run(plain::kMoveKernels);
    bytes.CopyTo(expected_);
    bytes.Restore(before_);
    run(*moves_);
    moves_->finishStreaming();
    const auto differ = std::mismatch(expected_.begin(), expected_.end(), bytes.data());
    ASSERT_TRUE(differ.first == expected_.end()) << "byte " << differ.first - expected_.begin();
  }

  const MoveKernels* moves_ = nullptr;

 private:
  std::vector<uint8_t> before_, expected_;
};

TEST_P(MoveKernelsTest, RowsOfEveryWidthAndAlignment) {
  for (int width = 0; width <= 4 * 16 + 1; ++width) {
    for (const int offset : {0, 4, 8, 20, 32, 60, 1, 2, 63}) {
      for (const bool atEnd : {false, true}) {
        const auto checkPath = [&](PixelPath path) {
          SCOPED_TRACE(testing::Message() << "width " << width << " offset " << offset << " path "
                                          << path << (atEnd ? " at the end" : ""));
          FencedBytes source(static_cast<size_t>(width) * SourceBytes(path), (offset * 7) % 64,
                             !atEnd, 1);
          FencedBytes target(static_cast<size_t>(width) * TargetBytes(path), offset, atEnd, 2);
          for (const Stores stores : {Stores::kCached, Stores::kStreaming}) {
            for (const WordMask mask : kMasks) {
              const RowMove row = {target.data(), source.data(), width, mask, stores, 4096, -4096};
              for (const auto rows : {&MoveKernels::copyRow, &MoveKernels::reverseRow}) {
                ExpectSameBytes(target,
                                [&](const MoveKernels& kernels) { (kernels.*rows)[path](row); });
              }
              if (path != kWordToWord && path != kRgbToWord) break;
            }
          }
        };
        for (int path = 0; path < kPixelPaths; ++path) {
          checkPath(static_cast<PixelPath>(path));
          if (HasFatalFailure()) return;
        }
        FencedBytes words(static_cast<size_t>(width) * 4, offset, atEnd, 3);
        const int half = width / 2;
        uint8_t* const right = words.data() + (width - half) * 4;
        ExpectSameBytes(words, [&](const MoveKernels& kernels) {
          kernels.exchange(words.data(), right, half, nullptr, right);
        });
        ExpectSameBytes(words, [&](const MoveKernels& kernels) {
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
          // The paths of alpha differ in the change alone; whole pictures show them.
          constexpr PixelPath kPaths[] = {kWordToWord, kRgbToWord, kWordToRgb, kRgbToRgb};
          for (const PixelPath path : kPaths) {
            const ptrdiff_t sourceStride = columns * SourceBytes(path) + 12;
            const ptrdiff_t targetStride =
                collide ? 2048 : rows * TargetBytes(path) + (shift == 0 ? 0 : 20);
            SCOPED_TRACE(testing::Message()
                         << columns << " columns, " << rows << " rows, shift " << shift << ", path "
                         << path << ", stride " << targetStride);
            FencedBytes source(
                rows > 0 ? sourceStride * (rows - 1) + columns * SourceBytes(path) : 0, shift,
                shift != 4, 4);
            FencedBytes target(
                columns > 0 ? targetStride * (columns - 1) + rows * TargetBytes(path) : 0, shift,
                shift == 4, 5);
            TransposeBand band;
            band.rowCount = rows;
            band.columnCount = columns;
            band.mask = kMasks[rows % 3];
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
              ExpectSameBytes(target,
                              [&](const MoveKernels& kernels) { kernels.transpose[path](band); });
              if (HasFatalFailure()) return;
            }
          }
        }
      }
    }
  }
}

/// A picture whose last row ends with its pixels; a console picture's rows lie in no order.
struct TestPicture {
  TestPicture(uint32_t type, int width, int height, int padding, uint32_t seed, bool scattered)
      : editor{},
        bytes(height > 0 ? Stride(type, width, padding) * (height - 1) + width * BytesOf(type) : 0,
              seed % 16 * 4, seed % 2 == 0, seed) {
    editor.pixelType = type;
    editor.width = width;
    editor.height = height;
    editor.bytesPerPixel = BytesOf(type);
    editor.rowBytes = static_cast<int32_t>(Stride(type, width, padding));
    editor.pixels = editor.baseAddress = bytes.data();
    for (int y = 0; y < height; ++y) {
      // Step 7 visits every row of a picture whose height is no multiple of 7.
      const int place = scattered && height % 7 != 0 ? y * 7 % height : y;
      rowTable.push_back(bytes.data() + static_cast<ptrdiff_t>(place) * editor.rowBytes);
    }
    if (type == kPixelConsole) editor.rowTable = rowTable.data();
  }
  static int BytesOf(uint32_t type) { return type == kPixelRgb24 ? 3 : 4; }
  static ptrdiff_t Stride(uint32_t type, int width, int padding) {
    return (width * BytesOf(type) + 3) / 4 * 4 + padding * 4;
  }

  PictureEditor editor;
  FencedBytes bytes;
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
  TestPicture target(to, move.turns ? height : width, move.turns ? width : height, padding + 1,
                     seed + 1, padding % 3 == 1);
  const std::vector<uint8_t> before = target.bytes.Copy();
  VisitFormat(from, [&]<class From>(From) {
    VisitFormat(to, [&]<class To>(To) {
      for (int y = 0; y < height; ++y) {
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

TEST_P(MoveKernelsTest, PicturesOfEveryFormatPair) {
  const int sides[][2] = {{0, 0},   {0, 3},   {3, 0},     {1, 1},     {1, 40},    {40, 1},   {7, 5},
                          {64, 16}, {65, 33}, {130, 129}, {129, 300}, {1100, 20}, {256, 256}};
  for (const Move& move : kMoves) {
    for (const uint32_t from : kFormats) {
      for (const uint32_t to : kFormats) {
        for (const auto& side : sides) {
          for (const int padding : {0, 1, 4}) {
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
    ExpectMoved(move, kPixelRgb32, kPixelRgb32, 2101, 2003, 0);
    if (HasFatalFailure()) return;
  }
}

TEST_P(MoveKernelsTest, PicturesInPlace) {
  struct {
    void (*run)(PictureEditor&);
    bool flipColumns, flipRows;
  } const mirrors[] = {{ReverseRowsInPlace, true, false},
                       {[](auto& p) { FlipRowsInPlace(p); }, false, true},
                       {[](auto& p) { MirrorInPlace(p); }, true, true}};
  for (const auto& mirror : mirrors) {
    for (const auto& side : {std::pair{0, 0}, {1, 1}, {1, 2}, {2, 1}, {3, 3}, {67, 8}, {130, 31}}) {
      for (const int padding : {0, 3}) {
        const auto [width, height] = side;
        SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << mirror.flipColumns);
        TestPicture picture(kPixelConsole, width, height, padding, 9, true);
        const std::vector<uint8_t> before = picture.bytes.Copy();
        const auto wordAt = [&](int x, int y) { return RowAddress(picture.editor, y) + x * 4; };
        std::vector<uint8_t> expected = before;
        for (int y = 0; y < height; ++y) {
          for (int x = 0; x < width; ++x) {
            std::memcpy(expected.data() + (wordAt(mirror.flipColumns ? width - 1 - x : x,
                                                  mirror.flipRows ? height - 1 - y : y) -
                                           picture.bytes.data()),
                        wordAt(x, y), 4);
          }
        }
        mirror.run(picture.editor);
        ASSERT_TRUE(picture.bytes.Copy() == expected);
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Variants, MoveKernelsTest,
                         testing::Values("plain", "sse2", "avx2", "avx512"),
                         [](const auto& variant) { return std::string(variant.param); });

TEST(SelectKernelsTest, RefusesUnknownNames) {
  ASSERT_TRUE(SelectKernels("plain"));
  EXPECT_FALSE(SelectKernels("avx"));
  EXPECT_FALSE(SelectKernels(""));
  EXPECT_FALSE(SelectKernels(nullptr));
  EXPECT_STREQ("plain", SelectedKernels().name);
}

}  // namespace
}  // namespace velpicture

// Sheared lines of whole pictures: rows found one by one, blocks of lines, offsets that no picture
// holds. The model is the plain rule on pixels that are looked up one by one.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <ostream>
#include <random>
#include <vector>

#include "pixels/pixel_formats.h"
#include "transforms/kernels/kernels.h"
#include "transforms/kernels/variant_names.h"
#include "transforms/shear.h"
#include "transforms/shear_blocks.h"

namespace velpicture {
namespace {

/// A picture of words whose rows lie in any order when it is a console's.
struct TestPicture {
  TestPicture(uint32_t type, int width, int height, uint32_t seed) : words(width * height) {
    std::mt19937 random(seed);
    for (uint32_t& word : words) word = static_cast<uint32_t>(random());
    auto* const bytes = reinterpret_cast<uint8_t*>(words.data());
    for (int y = 0; y < height; ++y) rows.push_back(bytes + y * width * 4);
    if (type == kPixelConsole) std::shuffle(rows.begin(), rows.end(), random);
    editor = {};
    editor.pixelType = type;
    editor.width = width;
    editor.height = height;
    editor.bytesPerPixel = 4;
    editor.rowBytes = width * 4;
    editor.pixels = rows.empty() ? bytes : rows[0];
    editor.rowTable = type == kPixelConsole ? rows.data() : nullptr;
  }
  uint8_t* Pixel(int x, int y) { return RowAddress(editor, y) + x * 4; }
  Rgba Load(int x, int y) {
    Rgba pixel{};
    VisitFormat(editor.pixelType, [&](auto format) { pixel = format.Load(Pixel(x, y)); });
    return pixel;
  }

  std::vector<uint32_t> words;
  std::vector<uint8_t*> rows;
  PictureEditor editor;
};

constexpr Rgba kBackground{10, 200, 30, 77};

int BlendChannel(int current, int previous, double weight) {
  return current - static_cast<int>(current * weight - previous * weight);
}

/// The pixel that shearing by `line` puts at x (of a row) or y (of a column) of the destination.
Rgba Sheared(TestPicture& source, bool isRow, int index, const ShearLine& line, int position) {
  const int length = isRow ? source.editor.width : source.editor.height;
  const auto load = [&](int64_t i) {
    if (i < 0 || i >= length) return kBackground;
    const int at = static_cast<int>(i);
    return isRow ? source.Load(at, index) : source.Load(index, at);
  };
  const int64_t i = static_cast<int64_t>(position) - line.offset;
  const Rgba current = load(i);
  const Rgba previous = load(i - 1);
  return {BlendChannel(current.red, previous.red, line.weight),
          BlendChannel(current.green, previous.green, line.weight),
          BlendChannel(current.blue, previous.blue, line.weight),
          BlendChannel(current.alpha, previous.alpha, line.weight)};
}

struct LinesCase {
  uint32_t sourceType;
  uint32_t destinationType;
  int lineCount;
  int length;
  int destinationLength;
};

/// How a failing case is named.
void PrintTo(const LinesCase& lines, std::ostream* out) {
  *out << lines.lineCount << " lines of " << lines.length << " pixels to "
       << lines.destinationLength << ", format " << lines.sourceType << " to "
       << lines.destinationType;
}

class ShearLinesTest : public testing::TestWithParam<LinesCase> {
 protected:
  void Check(bool isRow, const std::vector<ShearLine>& lines) {
    const LinesCase& param = GetParam();
    const int count = param.lineCount;
    TestPicture source(param.sourceType, isRow ? param.length : count, isRow ? count : param.length,
                       1);
    TestPicture destination(param.destinationType, isRow ? param.destinationLength : count,
                            isRow ? count : param.destinationLength, 2);
    (isRow ? SkewRows : SkewColumns)(source.editor, destination.editor, 0, lines.data(), count,
                                     kBackground);
    for (int line = 0; line < count; ++line) {
      for (int at = 0; at < param.destinationLength; ++at) {
        uint8_t expected[4] = {};
        VisitFormat(param.destinationType, [&](auto format) {
          format.Store(expected, Sheared(source, isRow, line, lines[line], at));
        });
        ASSERT_EQ(LoadWord(expected),
                  LoadWord(isRow ? destination.Pixel(at, line) : destination.Pixel(line, at)))
            << (isRow ? "row " : "column ") << line << " at " << at << " offset "
            << lines[line].offset << " weight " << lines[line].weight;
      }
    }
  }
};

TEST_P(ShearLinesTest, EqualTheModelForSteadyAndForWildOffsets) {
  for (const char* const name : kVariantNames) {
    if (!SelectKernels(name)) continue;
    SCOPED_TRACE(name);
    std::vector<ShearLine> steady, wild;
    for (int i = 0; i < GetParam().lineCount; ++i) {
      const double offset = (i - 20) * -0.6180339887;
      steady.push_back({static_cast<int>(std::floor(offset)), offset - std::floor(offset)});
      constexpr int kOffsets[] = {INT_MIN, INT_MAX, -1, 0, 1, INT_MIN + 1, 1500, -1500, 3};
      wild.push_back({kOffsets[i % 9], i % 5 * 0.25});
    }
    for (bool isRow : {true, false}) {
      Check(isRow, steady);
      Check(isRow, wild);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Pictures, ShearLinesTest,
                         testing::Values(LinesCase{14, 14, 40, 70, 90}, LinesCase{8, 8, 33, 50, 20},
                                         // More than one band of rows, more than one block.
                                         LinesCase{8, 15, 20, 900, 1200},
                                         LinesCase{15, 14, 1100, 5, 40},
                                         // A source format that no storage uses reads as nothing.
                                         LinesCase{3, 14, 9, 12, 12}, LinesCase{14, 14, 3, 0, 5}));

TEST(ShearLineTest, SingleLinesAreBlocksOfOne) {
  TestPicture source(kPixelArgb32, 9, 7, 3);
  TestPicture destination(kPixelArgb32, 9, 7, 4);
  SkewRow(source.editor, destination.editor, 2, -3, 0.3, 10, 200, 30, 77);
  SkewColumn(source.editor, destination.editor, 5, 2, 0.7, 10, 200, 30, 77);
  for (int at = 0; at < 7; ++at) {
    uint8_t expected[4];
    if (at != 5) {
      Argb32Format::Store(expected, Sheared(source, true, 2, {-3, 0.3}, at));
      EXPECT_EQ(LoadWord(expected), LoadWord(destination.Pixel(at, 2))) << at;
    }
    Argb32Format::Store(expected, Sheared(source, false, 5, {2, 0.7}, at));
    EXPECT_EQ(LoadWord(expected), LoadWord(destination.Pixel(5, at))) << at;
  }
}

}  // namespace
}  // namespace velpicture

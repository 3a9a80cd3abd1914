// Sheared lines of whole pictures: the vector variants against the plain kernels, byte for byte and
// for random lines, and every variant against the rule on pixels that are looked up one by one.
// Destinations are poisoned, and every failure prints its case.

#include <climits>
#include <cmath>

#include "tests/kernels/kernels_test.h"
#include "transforms/shear.h"
#include "transforms/shear_blocks.h"

namespace velpicture {
namespace {

struct ShearKernels : KernelsTest {};
struct PictureShears : KernelsTest {};
INSTANTIATE_TEST_SUITE_P(Variants, ShearKernels, kVectorVariants, NameOf);
INSTANTIATE_TEST_SUITE_P(Variants, PictureShears, kVariants, NameOf);

/// The lines to shear, rows or columns, of one picture into another one.
struct Shear {
  Shear(Random& random, bool rows, uint32_t from, uint32_t to, int lineCount, int length,
        int targetLength)
      : isRow(rows),
        source(random, from, rows ? length : lineCount, rows ? lineCount : length, Padding(random)),
        target(random, to, rows ? targetLength : lineCount, rows ? lineCount : targetLength,
               Padding(random)),
        lines(lineCount) {}
  static int Padding(Random& random) { return random.OneIn(2) ? random.Int(0, 70) : 0; }

  void Run() {
    (isRow ? SkewRows : SkewColumns)(source.editor, target.editor, 0, lines.data(),
                                     static_cast<int>(lines.size()), background);
  }
  void RunOneByOne() {
    for (size_t i = 0; i < lines.size(); ++i) {
      const auto& [red, green, blue, alpha] = background;
      (isRow ? SkewRow : SkewColumn)(source.editor, target.editor, static_cast<int>(i),
                                     lines[i].offset, lines[i].weight, red, green, blue, alpha);
    }
  }
  void RunPlainly() {
    const auto length = [this](TestPicture& picture) {
      return isRow ? picture.editor.width : picture.editor.height;
    };
    for (int line = 0; line < static_cast<int>(lines.size()); ++line) {
      const auto& [offset, weight, unused] = lines[line];
      model::Skew(
          length(source), length(target), offset, weight,
          {background.red, background.green, background.blue, background.alpha},
          [&](int i) { return isRow ? source.Load(i, line) : source.Load(line, i); },
          [&](int i, const model::Channels& pixel) {
            isRow ? target.Store(i, line, pixel) : target.Store(line, i, pixel);
          });
    }
  }

  bool isRow;
  TestPicture source, target;
  std::vector<ShearLine> lines;
  Rgba background;
};

/// Often one that has no multiplier, and now and then 0 or 1.
double RandomWeight(Random& random) {
  const double fraction = random.Int(0, 16) / 16.0;
  switch (random.Int(0, 5)) {
    case 0:
      return fraction;
    case 1:
      return std::fabs(std::nextafter(fraction, 0.5));
    case 2:
      return random.Int(1, 254) / 255.0;
    default:
      return random.Word() * 0x1p-32;
  }
}

/// Rows anywhere, often beside their own place; columns as a rotation shears them, in either
/// direction, with a leap now and then.
void DrawLines(Random& random, int length, Shear& shear) {
  const bool leaps = random.OneIn(4);
  const double slope = random.Int(-707, 707) / 1000.0;
  double offset = random.Int(-length / 2, length / 2) + RandomWeight(random);
  for (ShearLine& line : shear.lines) {
    if (shear.isRow) {
      const int most = random.OneIn(2) ? length + 2 : 4;
      line = {random.Int(-most, most), RandomWeight(random), 0};
      continue;
    }
    offset += slope;
    if (leaps && random.OneIn(10)) offset += random.Int(-30, 30);
    const double whole = std::floor(offset);
    line = {static_cast<int>(whole), random.OneIn(8) ? RandomWeight(random) : offset - whole, 0};
  }
}

TEST_P(ShearKernels, EqualThePlainOnes) {
  uint32_t seed = 0;
  const auto check = [&](bool isRow, uint32_t from, uint32_t to, int lineCount, int length) {
    SCOPED_TRACE(testing::Message()
                 << "seed " << ++seed << ", " << lineCount << (isRow ? " rows" : " columns")
                 << " of " << length << ", formats " << from << " to " << to);
    Random random(seed);
    const int targetLength = length + random.Int(-20, isRow ? 20 : 60);
    Shear shear(random, isRow, from, to, lineCount, length, std::max(0, targetLength));
    DrawLines(random, length, shear);
    shear.background = UnpackColor(random.Word(), random.Int(0, 255));
    ExpectAsPlain(shear.target.bytes, [&](const Kernels&) { shear.Run(); });
  };
  const auto checkAll = [&](uint32_t from, uint32_t to) {
    for (int width = 0; width <= 3 * 64 + 1; width += width < 50 ? 1 : 7) {
      for (int repeat = 0; repeat < 4; ++repeat) check(true, from, to, 1, width);
      check(false, from, to, width, Random(seed).Int(0, 120));
    }
    check(true, from, to, 1, 1601);
    check(false, from, to, 1024, 37);
    // One column far from those behind it, which have all their source rows.
    for (int repeat = 0; repeat < 64; ++repeat) {
      Random random(++seed);
      Shear shear(random, false, from, to, 18, 150, 64);
      for (ShearLine& line : shear.lines) line = {-1, RandomWeight(random), 0};
      shear.lines[0].offset = -40;
      ExpectAsPlain(shear.target.bytes, [&](const Kernels&) { shear.Run(); });
    }
  };
  Combine(checkAll, kFormats, kFormats);
}

TEST_P(PictureShears, EqualTheModelForSteadyAndForWildOffsets) {
  struct Case {
    uint32_t from, to;
    int lineCount, length, targetLength;
  } const cases[] = {{kPixelArgb32, kPixelArgb32, 40, 70, 90},
                     {kPixelConsole, kPixelConsole, 33, 50, 20},
                     // More than one band of rows, more than one block.
                     {kPixelConsole, kPixelRgb32, 20, 900, 1200},
                     {kPixelRgb32, kPixelArgb32, 1100, 5, 40},
                     // A source format that no storage uses reads as nothing.
                     {3, kPixelArgb32, 9, 12, 12},
                     {kPixelArgb32, kPixelArgb32, 3, 0, 5}};
  constexpr int kWild[] = {INT_MIN, INT_MAX, -1, 0, 1, INT_MIN + 1, 1500, -1500, 3};
  Random random(5);
  const auto check = [&](const Case& each, bool isRow, bool isWild) {
    const auto& [from, to, lineCount, length, targetLength] = each;
    SCOPED_TRACE(testing::Message() << lineCount << (isRow ? " rows" : " columns") << " of "
                                    << length << " pixels to " << targetLength << ", format "
                                    << from << " to " << to << (isWild ? ", wild" : ""));
    Shear shear(random, isRow, from, to, lineCount, length, targetLength);
    shear.background = {10, 200, 30, 77};
    for (int i = 0; i < lineCount; ++i) {
      const double offset = (i - 20) * -0.6180339887, whole = std::floor(offset);
      shear.lines[i] = {static_cast<int>(whole), offset - whole, 0};
      if (isWild) shear.lines[i] = {kWild[i % 9], i % 5 * 0.25, 0};
    }
    for (const auto run : {&Shear::RunOneByOne, &Shear::Run}) {
      ExpectSameBytes(
          shear.target.bytes, [&] { shear.RunPlainly(); }, [&] { (shear.*run)(); });
    }
  };
  Combine(check, cases, kEither, kEither);
}

}  // namespace
}  // namespace velpicture

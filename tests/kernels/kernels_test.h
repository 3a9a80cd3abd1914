#pragma once

// What the tests of kernels have in common: a kernel variant as the parameter, and pictures that
// are written plainly, a pixel at a time, or by the kernels.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "pixels/picture_editor.h"
#include "pixels/pixel_formats.h"
#include "tests/kernels/guarded_bytes.h"
#include "tests/transforms/rules.h"
#include "transforms/kernels/kernels.h"
#include "transforms/kernels/variant_names.h"

namespace velpicture {

constexpr bool kEither[] = {false, true};
constexpr uint32_t kFormats[] = {kPixelConsole, kPixelRgb24, kPixelArgb32, kPixelRgb32};

inline void PrintTo(const FormatPair& formats, std::ostream* out) {
  *out << formats.source << " to " << formats.target;
}

inline int BytesOf(uint32_t format) { return format == kPixelRgb24 ? 3 : 4; }

/// A picture of random bytes. So many bytes of padding lie behind each row, which brings words to
/// any address. The last row ends with its pixels, except in a surface, which holds whole rows. A
/// console picture's rows may lie in any order and have no padding of their own.
struct TestPicture {
  TestPicture(Random& random, uint32_t format, int width, int height, int padding)
      : stride(width * BytesOf(format) + padding),
        bytes(SizeOf(format, width, height), random.Int(0, 15) * (random.OneIn(4) ? 3 : 4),
              random.OneIn(2), random),
        rowTable(format == kPixelConsole ? height * sizeof(uint8_t*) : 0, 0, random.OneIn(2),
                 random),
        editor{} {
    editor.pixelType = format;
    editor.width = width;
    editor.height = height;
    editor.bytesPerPixel = BytesOf(format);
    editor.rowBytes = format == kPixelConsole ? width * 4 : stride;
    editor.pixels = editor.baseAddress = bytes.data();
    if (format != kPixelConsole) return;
    editor.rowTable = reinterpret_cast<uint8_t**>(rowTable.data());
    for (int y = 0; y < height; ++y) editor.rowTable[y] = bytes.data() + ptrdiff_t{y} * stride;
    if (random.OneIn(2)) std::shuffle(editor.rowTable, editor.rowTable + height, random);
  }
  size_t SizeOf(uint32_t format, int width, int height) const {
    const bool isSurface = format == kPixelArgb32 || format == kPixelRgb32;
    return height == 0
               ? 0
               : ptrdiff_t{stride} * (height - 1) + (isSurface ? stride : width * BytesOf(format));
  }
  model::Size size() const { return {editor.width, editor.height}; }
  uint8_t* Pixel(int x, int y) { return RowAddress(editor, y) + x * editor.bytesPerPixel; }
  /// Nothing of a format that no storage uses.
  model::Channels Load(int x, int y) {
    Rgba pixel{};
    VisitFormat(editor.pixelType, [&](auto format) { pixel = format.Load(Pixel(x, y)); });
    return {pixel.red, pixel.green, pixel.blue, pixel.alpha};
  }
  void Store(int x, int y, const model::Channels& pixel) {
    VisitFormat(editor.pixelType, [&](auto format) {
      format.Store(Pixel(x, y), {pixel[0], pixel[1], pixel[2], pixel[3]});
    });
  }

  int stride;
  GuardedBytes bytes;
  GuardedBytes rowTable;
  PictureEditor editor;
};

/// Calls visit(a, b, …) with one of each list, in all combinations, until something fails.
template <class Visit>
void Combine(Visit visit) {
  visit();
}
template <class Visit, class List, class... Lists>
void Combine(Visit visit, const List& list, const Lists&... lists) {
  for (const auto& each : list) {
    if (testing::Test::HasFailure()) return;
    Combine([&](const auto&... others) { visit(each, others...); }, lists...);
  }
}

/// Runs both on what the bytes hold now, expects that both leave the same, and takes it back: what
/// is not written must not be there already.
template <class Expected, class Run>
void ExpectSameBytes(GuardedBytes& bytes, Expected expect, Run run) {
  static std::vector<uint8_t> before, expected, given;  // Large; allocated once.
  bytes.CopyTo(before);
  expect();
  bytes.CopyTo(expected);
  bytes.Restore(before);
  run();
  bytes.CopyTo(given);
  bytes.Restore(before);
  if (given == expected) return;
  const auto differ = std::mismatch(expected.begin(), expected.end(), given.begin());
  FAIL() << "byte " << differ.first - expected.begin();
}

/// Under each variant.
class KernelsTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!SelectKernels(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
  }
  /// Expects that run(kernels) writes the same with the plain kernels, selected meanwhile, and with
  /// the variant's.
  template <class Run>
  void ExpectAsPlain(GuardedBytes& bytes, Run run) {
    const auto runWith = [&](const char* variant) {
      SelectKernels(variant);
      run(SelectedKernels());
    };
    ExpectSameBytes(
        bytes, [&] { runWith("plain"); }, [&] { runWith(GetParam()); });
  }
};

inline const auto kVariants = testing::ValuesIn(kVariantNames);
/// Plain, the last, is what the others equal.
inline const auto kVectorVariants =
    testing::ValuesIn(std::begin(kVariantNames), std::end(kVariantNames) - 1);
inline std::string NameOf(const testing::TestParamInfo<const char*>& variant) {
  return variant.param;
}

}  // namespace velpicture

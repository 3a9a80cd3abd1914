// The vector variants of the shears against the plain rule, byte for byte, and the multipliers
// against the products in double. Destinations are poisoned, and every failure prints the seed of
// its case.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "tests/kernels/guarded_bytes.h"
#include "transforms/kernels/kernels.h"
#include "transforms/kernels/shear_multiplier.h"
#include "transforms/kernels/variant_names.h"

namespace velpicture {
namespace {

constexpr uint32_t kFormats[] = {8, 11, 14, 15};

int BytesPerPixel(uint32_t type) { return type == 11 ? 3 : 4; }

class Random {
 public:
  explicit Random(uint32_t seed) : engine_(seed) {}
  int Int(int low, int high) {
    return low + static_cast<int>(engine_() % static_cast<uint32_t>(high - low + 1));
  }
  uint32_t Word() { return static_cast<uint32_t>(engine_()); }
  /// As such a destination can show it.
  uint32_t Background(uint32_t type) { return Word() | (type == 15 ? 0xFF000000 : 0); }
  /// Often one that has no multiplier, and now and then 0 or 1.
  double Weight() {
    const double fraction = static_cast<double>(Int(0, 16)) / 16.0;
    switch (Int(0, 5)) {
      case 0:
        return fraction;
      case 1:
        return std::fabs(std::nextafter(fraction, 0.5));
      case 2:
        return static_cast<double>(Int(1, 254)) / 255.0;
      default:
        return Word() * 0x1p-32;
    }
  }
  void Fill(GuardedBytes& bytes) {
    const bool extreme = Int(0, 3) == 0;
    bytes.Fill([&] { return static_cast<uint8_t>(extreme ? -(Word() & 1) : Word() >> 8); });
  }

 private:
  std::mt19937 engine_;
};

struct Picture {
  Picture(Random& random, uint32_t pixelType, int columns, int rows)
      : type(pixelType),
        width(columns),
        height(rows),
        stride(columns * BytesPerPixel(pixelType) + (random.Int(0, 1) ? random.Int(0, 70) : 0)),
        // The last row is no longer than its pixels.
        bytes(rows == 0
                  ? 0
                  : static_cast<size_t>(stride) * (rows - 1) + columns * BytesPerPixel(pixelType),
              random.Int(0, 63) * random.Int(0, 1), random.Int(0, 1) != 0) {
    random.Fill(bytes);
  }
  uint8_t* Row(int y) { return bytes.data() + static_cast<ptrdiff_t>(stride) * y; }

  uint32_t type;
  int width, height, stride;
  GuardedBytes bytes;
};

class ShearKernelsTest : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!SelectKernels(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
    kernels_ = &SelectedKernels();
  }

  /// Runs shear(kernels) with the plain kernels and with the variant's.
  template <class Shear>
  void ExpectSameShears(Picture& destination, Shear shear) {
    ExpectSameBytes(
        destination.bytes, [&] { shear(plain::kKernels); }, [&] { shear(*kernels_); });
  }

  void CheckRow(uint32_t seed, uint32_t from, uint32_t to, int sourceWidth) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << " formats " << from << " to " << to
                                    << " width " << sourceWidth);
    Random random(seed);
    Picture source(random, from, sourceWidth, 1);
    Picture destination(random, to, std::max(0, sourceWidth + random.Int(-20, 20)), 1);
    const int least = -sourceWidth - 1;
    const int offset = random.Int(0, 1) ? random.Int(least, destination.width)
                                        : std::clamp(random.Int(-4, 4), least, destination.width);
    const double weight = random.Weight();
    const RowShear row{
        source.Row(0), source.width, destination.Row(0), destination.width,    {from, to},
        offset,        weight,       Multiplier(weight), random.Background(to)};
    ExpectSameShears(destination, [&](const Kernels& kernels) { kernels.shearRow(row); });
  }

  void CheckColumns(uint32_t seed, uint32_t from, uint32_t to, int width, int height) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << " formats " << from << " to " << to
                                    << " size " << width << " x " << height);
    Random random(seed);
    Picture source(random, from, width, height);
    Picture destination(random, to, width, std::max(1, height + random.Int(-20, 60)));
    // Offsets as a rotation makes them, in either direction, and now and then a leap.
    const bool leaps = random.Int(0, 3) == 0;
    const double sine = random.Int(-707, 707) / 1000.0;
    double offset = random.Int(-height / 2, height / 2) + random.Weight();
    std::vector<ShearColumn> columns;
    std::vector<int> offsets;
    for (int j = 0; j < width; ++j) {
      offset += sine;
      if (leaps && random.Int(0, 9) == 0) offset += random.Int(-30, 30);
      const double weight = random.Int(0, 7) == 0 ? random.Weight() : offset - std::floor(offset);
      offsets.push_back(static_cast<int>(std::floor(offset)));
      columns.push_back({0, Multiplier(weight), weight});
    }
    const auto [least, greatest] = std::minmax_element(offsets.begin(), offsets.end());
    for (int j = 0; j < width; ++j) columns[j].lag = *greatest - offsets[j] + 1;
    std::vector<const uint8_t*> sourceRows;
    std::vector<uint8_t*> destinationRows;
    const int firstRow = -*greatest - 1, endRow = destination.height - *least;
    for (int i = firstRow; i < endRow + kMostExtraLag; ++i) {
      sourceRows.push_back(i >= 0 && i < height ? source.Row(i) : nullptr);
    }
    for (int y = 0; y < destination.height; ++y) destinationRows.push_back(destination.Row(y));
    const int rowCount = static_cast<int>(sourceRows.size());
    const ColumnShear shear{sourceRows.data(),
                            std::clamp(-firstRow, 0, rowCount),
                            std::clamp(height - firstRow, 0, rowCount),
                            destinationRows.data(),
                            destination.height,
                            {from, to},
                            columns.data(),
                            width,
                            random.Background(to)};
    ExpectSameShears(destination, [&](const Kernels& kernels) { kernels.shearColumns(shear); });
  }

  const Kernels* kernels_ = nullptr;
};

TEST_P(ShearKernelsTest, RowsEqualThePlainRule) {
  uint32_t seed = 0;
  for (uint32_t from : kFormats) {
    for (uint32_t to : kFormats) {
      for (int width = 0; width <= 3 * 64 + 1; width += width < 50 ? 1 : 7) {
        for (int repeat = 0; repeat < 4; ++repeat) CheckRow(++seed, from, to, width);
      }
      CheckRow(++seed, from, to, 1601);
      if (HasFailure()) return;
    }
  }
}

TEST_P(ShearKernelsTest, ColumnsEqualThePlainRule) {
  uint32_t seed = 1000000;
  for (uint32_t from : kFormats) {
    for (uint32_t to : kFormats) {
      for (int width = 1; width <= 3 * 64 + 1; width += width < 50 ? 1 : 11) {
        ++seed;
        CheckColumns(seed, from, to, width, Random(seed).Int(0, 120));
      }
      CheckColumns(++seed, from, to, 1024, 37);
      if (HasFailure()) return;
    }
  }
}

/// Whether the multiplier gives the rule's step for every pair of channels whose difference is a
/// multiple of `stride`, and for every difference from 0.
bool GivesTheRule(uint16_t multiplier, double weight, int stride) {
  double products[256];
  for (int c = 0; c < 256; ++c) products[c] = c * weight;
  for (int d = 0; d < 256; ++d) {
    const int step = d * multiplier >> 16;
    for (int c = d; c < (d % stride == 0 ? 256 : d + 1); ++c) {
      if (static_cast<int>(products[c] - products[c - d]) != step ||
          static_cast<int>(products[c - d] - products[c]) != -step) {
        return false;
      }
    }
  }
  return true;
}

/// Calls check(weight, p, q, distance) for weights at and beside every fraction p/q with q up to
/// 255.
template <class Check>
void ForWeightsBesideFractions(Check check) {
  // How far beside, as a power of two; below -53 the sum is the fraction itself.
  std::vector<double> distances = {0.0};
  for (int exponent : {-54, -52, -48, -46, -45, -44, -43, -32}) {
    distances.insert(distances.end(), {std::ldexp(1.0, exponent), -std::ldexp(1.0, exponent)});
  }
  for (int q = 1; q <= 255; ++q) {
    for (int p = 0; p <= q; ++p) {
      if (std::gcd(p, q) != 1) continue;
      for (double distance : distances) {
        const double weight = static_cast<double>(p) / q + distance;
        if (weight >= 0.0 && weight < 1.0) check(weight, p, q, distance);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST(ShearMultiplierTest, EqualsDoublesAtAndBesideEveryFraction) {
  ForWeightsBesideFractions([](double weight, int p, int q, double distance) {
    const uint16_t multiplier = Multiplier(weight);
    // Only beside a fraction may there be none, or the slow path would be the usual one.
    if (multiplier == kNoMultiplier) {
      ASSERT_LT(std::fabs(distance), 0x1p-43) << p << '/' << q << " + " << distance;
    } else {
      ASSERT_TRUE(GivesTheRule(multiplier, weight, q)) << p << '/' << q << " + " << distance;
    }
  });
}

TEST(ShearMultiplierTest, IsThereForWeightsOfFewBitsBesideEveryFraction) {
  for (int q = 1; q <= 255; ++q) {
    for (int p = 0; p <= q; ++p) {
      if (std::gcd(p, q) != 1) continue;
      const double nearest = std::nearbyint(std::ldexp(static_cast<double>(p) / q, 45));
      for (double weight = nearest - 2; weight <= nearest + 2; ++weight) {
        const double scaled = std::ldexp(weight, -45);
        if (scaled < 0.0 || scaled >= 1.0) continue;
        const uint16_t multiplier = Multiplier(scaled);
        ASSERT_NE(multiplier, kNoMultiplier) << p << '/' << q << ", weight " << weight << " / 2^45";
        ASSERT_TRUE(GivesTheRule(multiplier, scaled, q)) << p << '/' << q << ", weight " << weight;
      }
    }
  }
}

TEST(ShearMultiplierTest, EqualsDoublesForRandomWeights) {
  Random random(7);
  for (int i = 0; i < 500; ++i) {
    const double weight = (random.Word() + random.Word() * 0x1p-32) * 0x1p-32;
    const uint16_t multiplier = Multiplier(weight);
    if (multiplier == kNoMultiplier) continue;
    ASSERT_TRUE(GivesTheRule(multiplier, weight, 1)) << weight;
  }
  EXPECT_EQ(Multiplier(0.0), 0);
  EXPECT_EQ(Multiplier(1.0), kNoMultiplier);
  EXPECT_EQ(Multiplier(0.5), 32768);
}

std::string NameOf(const testing::TestParamInfo<const char*>& variant) { return variant.param; }

INSTANTIATE_TEST_SUITE_P(Variants, ShearKernelsTest,
                         testing::ValuesIn(kVariantNames, std::end(kVariantNames) - 1), NameOf);

}  // namespace
}  // namespace velpicture

// The multipliers of weights against the products in double.

#include "transforms/kernels/shear_multiplier.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numeric>
#include <vector>

#include "tests/kernels/guarded_bytes.h"

namespace velpicture {
namespace {

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

TEST(ShearMultiplierTest, EqualsDoublesAtAndBesideEveryFraction) {
  for (int q = 1; q <= 255; ++q) {
    for (int p = 0; p <= q; ++p) {
      if (std::gcd(p, q) != 1) continue;
      const double fraction = static_cast<double>(p) / q;
      std::vector<double> weights = {fraction};
      for (const int exponent : {-54, -52, -48, -46, -45, -44, -43, -32}) {
        for (const int sign : {-1, 1}) weights.push_back(fraction + std::ldexp(sign, exponent));
      }
      const double fewBits = std::nearbyint(std::ldexp(fraction, 45));
      for (int i = -2; i <= 2; ++i) weights.push_back(std::ldexp(fewBits + i, -45));
      for (const double weight : weights) {
        if (weight < 0.0 || weight >= 1.0) continue;
        const uint16_t multiplier = Multiplier(weight);
        const double distance = weight - fraction;
        // There has to be one for weights of few bits, and otherwise unless a fraction is very
        // near, or the slow path would be the usual one.
        if (multiplier == kNoMultiplier) {
          ASSERT_LT(std::fabs(distance), 0x1p-43) << p << '/' << q << " + " << distance;
          ASSERT_NE(std::fmod(weight, 0x1p-45), 0.0) << p << '/' << q << " + " << distance;
        } else {
          ASSERT_TRUE(GivesTheRule(multiplier, weight, q)) << p << '/' << q << " + " << distance;
        }
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

}  // namespace
}  // namespace velpicture

#include "transforms/kernels/shear_multiplier.h"

#include <emmintrin.h>

namespace velpicture {
namespace {

constexpr int kMaxDifference = 255;

// Products below 256 are off by 2^-46 at most, and so is their difference: the three roundings make
// 1.5·2^-45 together. The rest is room for those of the bound's own computation.
constexpr double kDoubt = 0x1.9p-45;

/// Whether no product and no difference of products is ever rounded: they are below 2^8, so a
/// multiple of 2^-45 among them fits a double, and the products of one are multiples again. From
/// the offset 128 on every weight is one. Between 128 and 256 neighbouring doubles lie 2^-45 apart.
bool IsNeverRounded(double weight) { return (weight + 0x1.8p7) - 0x1.8p7 == weight; }

struct Fraction {
  int numerator;
  int denominator;
};

/// Computes weight·denominator − numerator without cancellation: the upper part of the weight has
/// 40 fractional bits, so its product is exact.
class ScaledWeight {
 public:
  explicit ScaledWeight(double weight)
      : high_((weight + 0x1.8p12) - 0x1.8p12), low_(weight - high_) {}
  double Excess(Fraction fraction) const {
    return (high_ * fraction.denominator - fraction.numerator) + low_ * fraction.denominator;
  }

 private:
  double high_;
  double low_;
};

/// How often `step`'s denominator can be added to `from`'s, and no more than `ratio` times.
int StepCount(Fraction from, Fraction step, double ratio) {
  const int room = (kMaxDifference - from.denominator) / step.denominator;
  return ratio < room ? static_cast<int>(ratio) : room;
}

Fraction Advanced(Fraction from, Fraction step, int count) {
  return {from.numerator + count * step.numerator, from.denominator + count * step.denominator};
}

/// As Multiplier, for weights below 1 and whatever is in doubt. The neighbouring fractions
/// lower <= weight < upper are found down the tree of M. A. Stern (1858) and A. Brocot (1861), a
/// run of equal turns at a time.
uint16_t MultiplierByDoubles(double weight) {
  const ScaledWeight scaled(weight);
  Fraction lower{0, 1};
  Fraction upper{1, 1};
  double excess = scaled.Excess(lower);
  double lack = -scaled.Excess(upper);
  while (lower.denominator + upper.denominator <= kMaxDifference) {
    if (lack <= 0.0) return kNoMultiplier;
    if (excess >= lack) {
      const int count = StepCount(lower, upper, excess / lack);
      Fraction next = Advanced(lower, upper, count);
      if (scaled.Excess(next) < 0.0) next = Advanced(lower, upper, count - 1);
      if (next.denominator == lower.denominator) return kNoMultiplier;
      lower = next;
      excess = scaled.Excess(lower);
    } else {
      // An excess of zero makes the ratio infinite, which the room limits.
      const int count = StepCount(upper, lower, lack / excess);
      Fraction next = Advanced(upper, lower, count);
      if (scaled.Excess(next) >= 0.0) next = Advanced(upper, lower, count - 1);
      if (next.denominator == upper.denominator) return kNoMultiplier;
      upper = next;
      lack = -scaled.Excess(upper);
    }
  }
  const bool lowerDecided = lower.numerator == 0 || excess >= kDoubt;
  if (!IsNeverRounded(weight) && (!lowerDecided || lack < kDoubt)) return kNoMultiplier;
  return static_cast<uint16_t>((lower.numerator * 65536 + lower.denominator - 1) /
                               lower.denominator);
}

}  // namespace

uint16_t Multiplier(double weight) {
  if (weight >= 1.0) return kNoMultiplier;
  // Below this no difference of channels makes a step.
  if (weight < 1.0 / 256) return 0;
  const auto fraction = static_cast<uint32_t>(weight * 0x1p32);
  // Beside a half or a whole, where at 30 degrees all columns of a small picture are, the search
  // below would find only that it cannot tell.
  if (2 * fraction + 0x20000 < 0x40000) return MultiplierByDoubles(weight);
  // The multiplier is the weight's lower neighbour among the multiples of 2^-16, unless some
  // d·weight is past a whole number that d·neighbour has yet to reach: then, as fractions lie
  // further apart than that, it is the upper one. Differences below 128 need no look, since twice
  // as much tells the same.
  const __m128i below = _mm_set1_epi16(static_cast<short>(fraction >> 16));
  const __m128i cut = _mm_set1_epi16(static_cast<short>(fraction));
  __m128i differences = _mm_setr_epi16(128, 129, 130, 131, 132, 133, 134, 135);
  __m128i passed = _mm_setzero_si128();
  __m128i nearest = _mm_set1_epi16(0x7FFF);
  for (int d = 128; d <= kMaxDifference; d += 8) {
    // Bits 2^-1 to 2^-16 of both products. Where a sum has none or all of them set, the product
    // with the weight, of which it has the upper 32 bits, may be whole or on either side.
    const __m128i product = _mm_mullo_epi16(differences, below);
    const __m128i sum = _mm_add_epi16(product, _mm_mulhi_epu16(differences, cut));
    passed = _mm_or_si128(passed, _mm_subs_epu16(product, sum));
    nearest = _mm_min_epi16(nearest, _mm_xor_si128(sum, _mm_srai_epi16(sum, 15)));
    differences = _mm_add_epi16(differences, _mm_set1_epi16(8));
  }
  const __m128i zero = _mm_setzero_si128();
  if (_mm_movemask_epi8(_mm_cmpeq_epi16(nearest, zero)) != 0) return MultiplierByDoubles(weight);
  const bool isPassed = _mm_movemask_epi8(_mm_cmpeq_epi16(passed, zero)) != 0xFFFF;
  const uint32_t multiplier = (fraction >> 16) + (isPassed ? 1 : 0);
  // From 254/255 on every multiplier does the same.
  return static_cast<uint16_t>(multiplier < 0xFF00 ? multiplier : 0xFF00);
}

}  // namespace velpicture

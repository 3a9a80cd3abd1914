#include "transforms/kernels/shear_multiplier.h"

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
  // The same way down the tree in whole numbers. The weight is cut to 32 bits, by less than 2^-32,
  // so that what a fraction with denominator q lacks of it is off by less than q. Of the fractions
  // below and above, only the denominators are kept, and how far they lie from the weight times
  // their denominator, in units of 2^-32.
  const auto fraction = static_cast<uint32_t>(weight * 0x1p32);
  uint32_t lower = 1, excess = fraction;  // 0/1
  uint32_t upper = 1, lack = -fraction;   // 1/1
  constexpr uint32_t kMost = kMaxDifference;
  const auto advance = [](uint32_t& denominator, uint32_t& distance, uint32_t other,
                          uint32_t otherDistance, uint32_t count) {
    if (count > kMost || denominator + count * other > kMost) count = (kMost - denominator) / other;
    denominator += count * other;
    distance -= count * otherDistance;
  };
  while (lower + upper <= kMost) {
    if (excess >= lack) {
      advance(lower, excess, upper, lack, excess / lack);
    } else if (excess != 0) {
      advance(upper, lack, lower, excess, (lack - 1) / excess);
    } else {
      break;
    }
  }
  if ((excess == 0 && lower > 1) || lack <= kMost) return MultiplierByDoubles(weight);
  // Between the two lies the upper or the lower of the weight's neighbours among the multiples of
  // 2^-16: the lower one unless the fraction lies above it.
  const uint32_t below = fraction >> 16;
  const uint32_t cut = fraction & 0xFFFF;
  const uint32_t multiplier = excess < lower * cut ? below + 1 : below;
  // From 254/255 on every multiplier does the same.
  return static_cast<uint16_t>(multiplier < 0xFF00 ? multiplier : 0xFF00);
}

}  // namespace velpicture

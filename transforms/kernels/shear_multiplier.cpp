#include "transforms/kernels/shear_multiplier.h"

#include <emmintrin.h>

#include <cmath>

namespace velpicture {
namespace {

constexpr int kMaxDifference = 255;

// Products below 256 are off by 2^-46 at most, and so is their difference: the three roundings make
// 1.5·2^-45 together. The rest is room for those of the bound's own computation.
constexpr double kDoubt = 0x1.9p-45;

/// All multipliers from 254/255 on give the same blends.
constexpr int kGreatestMultiplier = 0xFF00;

/// Whether no product and no difference of products is ever rounded. True for multiples of 2^-45:
/// channel·weight is then one too and, below 2^8, fits 53 bits. Adding 192 rounds to such
/// multiples. From the offset 128 on every weight is one.
bool IsNeverRounded(double weight) { return (weight + 0x1.8p7) - 0x1.8p7 == weight; }

/// As Multiplier, beside a half or a whole, where at 30 degrees all columns of a small picture are.
uint16_t MultiplierBesideHalves(double weight) {
  const bool isHalf = weight < 0.75;
  const double excess = isHalf ? 2.0 * (weight - 0.5) : weight - 1.0;
  if (std::fabs(excess) < kDoubt && !IsNeverRounded(weight)) return kNoMultiplier;
  if (!isHalf) return kGreatestMultiplier;
  return excess < 0.0 ? 0x7F80 : 0x8000;  // 127/255, the fraction below, and 1/2
}

/// As Multiplier, for weights below 1 that leave something in doubt.
uint16_t MultiplierByDoubles(double weight) {
  // The upper part has 40 fractional bits, so its products are exact, and nothing is cancelled.
  const double upper = (weight + 0x1.8p12) - 0x1.8p12;
  const double lower = weight - upper;
  const bool mayBeRounded = !IsNeverRounded(weight);
  int multiplier = 0;
  for (int d = 1; d <= kMaxDifference; ++d) {
    const int nearest = static_cast<int>(d * weight + 0.5);
    const double excess = (d * upper - nearest) + d * lower;
    if (nearest > 0 && std::fabs(excess) < kDoubt && mayBeRounded) return kNoMultiplier;
    // The least multiplier that gives this difference its step.
    const int step = (excess < 0.0 ? nearest - 1 : nearest) * 65536;
    if (step > multiplier * d) multiplier = (step + d - 1) / d;
  }
  return static_cast<uint16_t>(multiplier);
}

}  // namespace

uint16_t Multiplier(double weight) {
  if (weight >= 1.0) return kNoMultiplier;
  // Below this no difference of channels makes a step.
  if (weight < 1.0 / 256) return 0;
  const auto fraction = static_cast<uint32_t>(weight * 0x1p32);
  if (2 * fraction + 0x20000 < 0x40000) return MultiplierBesideHalves(weight);
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
    // 16 fractional bits of d·neighbour and d·weight; of the latter all zeros or all ones are too
    // near a whole number to tell its side.
    const __m128i product = _mm_mullo_epi16(differences, below);
    const __m128i sum = _mm_add_epi16(product, _mm_mulhi_epu16(differences, cut));
    passed = _mm_or_si128(passed, _mm_subs_epu16(product, sum));
    nearest = _mm_min_epi16(nearest, _mm_xor_si128(sum, _mm_srai_epi16(sum, 15)));
    differences = _mm_add_epi16(differences, _mm_set1_epi16(8));
  }
  const __m128i zero = _mm_setzero_si128();
  if (_mm_movemask_epi8(_mm_cmpeq_epi16(nearest, zero)) != 0) return MultiplierByDoubles(weight);
  const bool isPassed = _mm_movemask_epi8(_mm_cmpeq_epi16(passed, zero)) != 0xFFFF;
  const int multiplier = static_cast<int>(fraction >> 16) + (isPassed ? 1 : 0);
  return static_cast<uint16_t>(multiplier < kGreatestMultiplier ? multiplier : kGreatestMultiplier);
}

}  // namespace velpicture

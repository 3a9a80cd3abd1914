#pragma once

// The usual weights' multipliers. Included inside a variant, see shear_kernels_impl.h.

#include "transforms/kernels/shear_kernels.h"
#include "transforms/kernels/shear_multiplier.h"

namespace velpicture::VEL_VARIANT {
namespace {

/// As MultiplierByFractions, which decides what is in doubt here.
uint16_t Multiplier(double weight) {
  if (weight >= 1.0) return kNoMultiplier;
  // If any multiple of 2^-16 lies between the two fractions, one of the weight's own two neighbours
  // does. All 256 differences d are tried, with d·weight kept as a 32-bit fraction. It was cut by
  // less than 2^-32, so a product by less than 2^-24: 256 units. Everything is kept that much
  // higher, and biased for signed comparisons.
  const double scaled = weight * 65536.0;
  const int below = static_cast<int>(scaled);
  const auto rest = static_cast<uint32_t>((scaled - below) * 65536.0);
  const uint32_t fraction = static_cast<uint32_t>(below) << 16 | rest;
  constexpr uint32_t kMargin = 256;
  constexpr uint32_t kOrigin = 0x80000000 + kMargin;
  constexpr uint32_t kLanes = Vector::kBytes / 4;
  alignas(Vector::kBytes) uint32_t firstFractions[kLanes];
  alignas(Vector::kBytes) uint32_t firstShorts[kLanes];
  for (uint32_t i = 0; i < kLanes; ++i) {
    firstFractions[i] = kOrigin + (i + 1) * fraction;
    firstShorts[i] = kOrigin + (i + 1) * rest;
  }
  auto fractions = Vector::Load(firstFractions);  // of d·weight
  auto shorts = Vector::Load(firstShorts);        // what d·below lacks of it
  const auto fractionStep = Vector::Broadcast(kLanes * fraction);
  const auto shortStep = Vector::Broadcast(kLanes * rest);
  const auto twoMargins = Vector::Broadcast(kOrigin + kMargin);
  typename Vector::Flags nearWhole = Vector::Less(fractions, twoMargins);
  typename Vector::Flags belowFails = Vector::Less(fractions, shorts);
  for (uint32_t d = kLanes; d < 256; d += kLanes) {
    fractions = Vector::Add(fractions, fractionStep);
    shorts = Vector::Add(shorts, shortStep);
    nearWhole |= Vector::Less(fractions, twoMargins);
    belowFails |= Vector::Less(fractions, shorts);
  }
  const bool inDoubt = Vector::IsAny(nearWhole);
  const int multiplier = below + (Vector::IsAny(belowFails) ? 1 : 0);
  Vector::Leave();
  if (inDoubt) return MultiplierByFractions(weight);
  // From 254/255 on every multiplier does the same.
  return static_cast<uint16_t>(multiplier < 0xFF00 ? multiplier : 0xFF00);
}

}  // namespace
}  // namespace velpicture::VEL_VARIANT

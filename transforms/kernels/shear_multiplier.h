#pragma once

// How a blend in doubles becomes one in 16-bit integers, to the bit.
//
// The difference d of two channels is at most 255, so as a function of the weight, trunc(d·weight)
// steps at fractions with denominators up to 255 only. Two neighbouring ones lie at least
// 1/(255·254) apart, which is more than 2^-16: between them there is a multiple m of 2^-16, and
// (d·m) >> 16 == trunc(d·weight) for every d.
//
// The rule forms current·weight and previous·weight in double and truncates their difference. That
// differs from trunc(d·weight) only where some d·weight, d >= 1, is within rounding of a whole
// number without being one. Such weights have no multiplier, unless they have so few bits that no
// product is rounded.

#include <cstdint>

namespace velpicture {

/// Stands in place of a multiplier where none is exact: the products must be formed in double.
constexpr uint16_t kNoMultiplier = 0xFFFF;

/// The multiplier m for a weight in [0, 1]: |trunc(c·weight − p·weight)| == (|c − p|·m) >> 16 for
/// all channel values c and p; kNoMultiplier when rounding may decide a blend, and for 1.
uint16_t Multiplier(double weight);

}  // namespace velpicture

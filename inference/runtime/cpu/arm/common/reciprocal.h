// Reciprocal estimate and refinement step, bit for bit as the Arm Advanced SIMD instructions FRECPE and FRECPS define them.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// FRECPE, single precision, default rounding, denormals kept. For a normal v = 2^e * 1.f the estimate takes a = 256 + the top
// 8 bits of f, r = (floor(2^19 / (2a + 1)) + 1) >> 1, and has the low 8 bits of r as its fraction.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V reciprocalEstimate(D d, V v) {
#if HWY_TARGET == HWY_NEON
  (void)d;
  return hn::ApproximateReciprocal(v);
#else
  const hn::RebindToSigned<D> di;
  const auto bits = hn::BitCast(di, v);
  const auto sign = hn::And(bits, hn::Set(di, static_cast<int32_t>(0x80000000u)));
  const auto magnitude = hn::AndNot(sign, bits);

  // A subnormal is 0.f: one or two shifts normalise the two large enough ones; smaller ones overflow.
  const auto one_bit = hn::Set(di, 0x00400000);
  const auto is_subnormal = hn::Lt(magnitude, hn::Set(di, 0x00800000));
  const auto top_set = hn::Gt(magnitude, hn::Set(di, 0x003FFFFF));  // fraction 1xxx: exponent 0; 01xx: exponent -1
  auto exponent = hn::ShiftRight<23>(magnitude);
  auto fraction = hn::And(magnitude, hn::Set(di, 0x007FFFFF));
  const auto shifted = hn::IfThenElse(top_set, hn::ShiftLeft<1>(fraction), hn::ShiftLeft<2>(fraction));
  fraction = hn::IfThenElse(is_subnormal, hn::And(shifted, hn::Set(di, 0x007FFFFF)), fraction);
  exponent = hn::IfThenElse(is_subnormal, hn::IfThenElseZero(hn::Not(top_set), hn::Set(di, -1)), exponent);

  // floor(2^19 / (2a + 1)): the divisor is odd and at most 1023, so the truncated quotient of floats is exact.
  const auto a = hn::Or(hn::Set(di, 256), hn::ShiftRight<15>(fraction));
  const auto divisor = hn::ConvertTo(d, hn::Add(hn::Add(a, a), hn::Set(di, 1)));
  const auto quotient = hn::ConvertTo(di, hn::Div(hn::Set(d, 524288.0f), divisor));
  const auto r = hn::ShiftRight<1>(hn::Add(quotient, hn::Set(di, 1)));
  auto new_fraction = hn::ShiftLeft<15>(hn::And(r, hn::Set(di, 0xFF)));

  // Exponent 253 - e; 0 and -1 stand for subnormal results.
  const auto new_exponent = hn::Sub(hn::Set(di, 253), exponent);
  const auto implicit_one = hn::Or(new_fraction, hn::Set(di, 0x00800000));
  new_fraction = hn::IfThenElse(hn::Eq(new_exponent, hn::Zero(di)), hn::ShiftRight<1>(implicit_one), new_fraction);
  new_fraction = hn::IfThenElse(hn::Eq(new_exponent, hn::Set(di, -1)), hn::ShiftRight<2>(implicit_one), new_fraction);
  const auto biased = hn::Max(new_exponent, hn::Zero(di));
  auto result = hn::Or(hn::ShiftLeft<23>(biased), new_fraction);

  const auto infinity = hn::Set(di, 0x7F800000);
  result = hn::IfThenElse(hn::Lt(magnitude, hn::Set(di, 0x00200000)), infinity, result);  // |v| < 2^-128, and zero
  result = hn::IfThenElse(hn::Eq(magnitude, infinity), hn::Zero(di), result);
  const auto quiet = hn::Or(bits, one_bit);
  return hn::BitCast(d, hn::IfThenElse(hn::Gt(magnitude, infinity), quiet, hn::Or(result, sign)));
#endif
}

// FRECPS: 2 - a * b with one rounding; 2 for infinity times zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V reciprocalStep(D d, V a, V b) {
#if HWY_TARGET == HWY_NEON
  (void)d;
  return V(vrecpsq_f32(a.raw, b.raw));
#else
  const auto two = hn::Set(d, 2.0f);
  const auto inf_times_zero =
      hn::Or(hn::And(hn::IsInf(a), hn::Eq(b, hn::Zero(d))), hn::And(hn::IsInf(b), hn::Eq(a, hn::Zero(d))));
  return hn::IfThenElse(inf_times_zero, two, hn::NegMulAdd(a, b, two));
#endif
}

// 1 / v as an estimate and two steps of refinement.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedReciprocal(D d, V v) {
  const auto r0 = reciprocalEstimate(d, v);
  const auto r1 = hn::Mul(r0, reciprocalStep(d, v, r0));
  return hn::Mul(r1, reciprocalStep(d, v, r1));
}

}  // namespace tamix

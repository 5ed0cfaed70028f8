// Reciprocal estimate and refinement step, bit for bit as the Arm Advanced SIMD instructions FRECPE and FRECPS define them.
#pragma once

#include <cmath>
#include <limits>

#include "inference/runtime/cpu/arm/common/float_nan.h"
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

// v / kDivisor with one rounding, where neither v nor the quotient is infinite, NaN or subnormal: the product with the rounded
// reciprocal, corrected once by its fused remainder (P. Markstein, 1990).
template <int32_t kDivisor, class D, class V = hn::Vec<D>>
HWY_INLINE V dividedBy(D d, V v) {
  const auto divisor = hn::Set(d, static_cast<float>(kDivisor));
#if HWY_NATIVE_FMA
  const auto reciprocal = hn::Set(d, 1.0f / static_cast<float>(kDivisor));
  const auto quotient = hn::Mul(v, reciprocal);
  return hn::MulAdd(hn::NegMulAdd(quotient, divisor, v), reciprocal, quotient);
#else
  return hn::Div(v, divisor);
#endif
}

// 2 - a * b with one rounding. Where the processor has no fused multiply-add, a * b must be 0.5 to 2.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V twoMinusProduct(D d, V a, V b) {
#if HWY_NATIVE_FMA
  return hn::NegMulAdd(a, b, hn::Set(d, 2.0f));
#else
  // Such products have at most 48 fraction bits: the doubles are exact, and only their conversion rounds.
  return inDoubles(
      d, [](auto d64, auto x, auto y) HWY_ATTR { return hn::Sub(hn::Set(d64, 2.0), hn::Mul(x, y)); }, a, b);
#endif
}

// FRECPS: 2 - a * b with one rounding; 2 for infinity times zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V reciprocalStep(D d, V a, V b) {
#if HWY_TARGET == HWY_NEON
  (void)d;
  if constexpr (sizeof(V) == 16) {
    return V(vrecpsq_f32(a.raw, b.raw));
  } else {
    return V(vrecps_f32(a.raw, b.raw));
  }
#elif HWY_NATIVE_FMA
  const auto two = hn::Set(d, 2.0f);
  const auto inf_times_zero =
      hn::Or(hn::And(hn::IsInf(a), hn::Eq(b, hn::Zero(d))), hn::And(hn::IsInf(b), hn::Eq(a, hn::Zero(d))));
  return hn::IfThenElse(inf_times_zero, two, hn::NegMulAdd(a, b, two));
#else
  // Exact for any operands, one lane at a time.
  HWY_ALIGN float x[hn::MaxLanes(D())];
  HWY_ALIGN float y[hn::MaxLanes(D())];
  hn::StoreU(a, d, x);
  hn::StoreU(b, d, y);
  for (size_t k = 0; k < hn::Lanes(d); ++k) {
    const bool inf_times_zero = (std::isinf(x[k]) && y[k] == 0.0f) || (std::isinf(y[k]) && x[k] == 0.0f);
    x[k] = inf_times_zero ? 2.0f : std::fma(-x[k], y[k], 2.0f);
  }
  return hn::LoadU(d, x);
#endif
}

#if HWY_TARGET != HWY_NEON
// The estimate of v where 2^-126 <= |v| < 2^126; then it is normal too.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V commonReciprocalEstimate(D d, V v) {
  const hn::RebindToSigned<D> di;
  const auto bits = hn::BitCast(di, v);
  // x = (2a + 1) / 2^18: the top eight bits of the fraction, and half of their last place.
  const auto x = hn::BitCast(d, hn::OrAnd(hn::Set(di, 0x3B004000), bits, hn::Set(di, 0x007F8000)));
  // r is 1 / x rounded. That is never nearer to a half than 1/2046, so 20 bits of it suffice: the processor's approximation, of
  // 11 bits at least, and one step. Adding 2^23 rounds, and adding 0xFD00 with it prepares the exponent.
  const auto rough = hn::ApproximateReciprocal(x);
  const auto step = hn::NegMulAdd(x, rough, hn::Set(d, 2.0f));
  const auto r = hn::BitCast(di, hn::MulAdd(rough, step, hn::Set(d, 8388608.0f + 0xFD00)));
  // The low 9 bits are r = 256..511. Shifted, its top bit is one step of the exponent, 252 - e + 1; what is above 0xFD00 falls
  // out. -e is its complement and one.
  const auto complement = hn::AndNot(bits, hn::Set(di, static_cast<int32_t>(0xFF800000u)));
  return hn::BitCast(d, hn::Add(complement, hn::ShiftLeft<15>(r)));
}
#endif

// The approximation r of 1 / v, refined by one step. Of a NaN v, r has the sign, and the step the other one.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedOnce(D d, V v, V r) {
  const auto step = reciprocalStep(d, v, r);
#if HWY_TARGET == HWY_NEON
  // FMULX, because compilers may swap FMUL's operands, and the first NaN is the result. Zero never meets infinity here, the
  // only case in which the two differ.
  if constexpr (sizeof(V) == 16) {
    return V(vmulxq_f32(r.raw, step.raw));
  } else {
    return V(vmulx_f32(r.raw, step.raw));
  }
#else
  return hn::Mul(r, step);
#endif
}

#if HWY_TARGET != HWY_NEON
// True when a lane of any v is zero, infinite, NaN, or below 2^-126 or from 2^126 on.
template <class D, class... V>
HWY_INLINE bool hasRareDivisor(D /*d*/, V... v) {
  const hn::RebindToUnsigned<D> du;
  // Without the sign, counted from 2^-126: what is smaller wraps round to the upper end.
  auto most = hn::Zero(du);
  const auto distance = [du](auto bits) HWY_ATTR { return hn::Sub(hn::Add(bits, bits), hn::Set(du, 0x01000000u)); };
  ((most = hn::Max(most, distance(hn::BitCast(du, v)))), ...);
  return !hn::AllFalse(du, hn::Gt(most, hn::Set(du, 0xFBFFFFFFu)));
}

// 1 / v by an estimate and two steps, where v has no rare divisor: no step meets an infinity, no product a rare exponent.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedReciprocalOfCommon(D d, V v) {
  const auto r0 = commonReciprocalEstimate(d, v);
  const auto r1 = hn::Mul(r0, twoMinusProduct(d, v, r0));
  return hn::Mul(r1, twoMinusProduct(d, v, r1));
}
#endif

// The same for any v, by the architecture's instructions.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedReciprocalOfAny(D d, V v) {
#if HWY_TARGET != HWY_NEON
  // Zeros alone are frequent: infinity of v's sign.
  const auto zero = hn::Eq(v, hn::Zero(d));
  const auto others = hn::IfThenElse(zero, hn::Set(d, 1.0f), v);
  if (!hasRareDivisor(d, others)) {
    const auto infinity = hn::Or(v, hn::Set(d, std::numeric_limits<float>::infinity()));
    return hn::IfThenElse(zero, infinity, refinedReciprocalOfCommon(d, others));
  }
#endif
  const auto r0 = reciprocalEstimate(d, v);
  const auto r2 = refinedOnce(d, v, refinedOnce(d, v, r0));
#if HWY_TARGET == HWY_NEON
  return r2;
#else
  return hn::IfThenElse(hn::IsNaN(v), r0, r2);
#endif
}

// 1 / v as an estimate and two steps of refinement; infinity of v's sign for zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedReciprocal(D d, V v) {
#if HWY_TARGET != HWY_NEON
  if (HWY_LIKELY(!hasRareDivisor(d, v))) return refinedReciprocalOfCommon(d, v);
#endif
  return refinedReciprocalOfAny(d, v);
}

// a / v as a * (1 / v), by the refined reciprocal; the NaN of zero by zero is Arm's.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedQuotient(D d, V a, V v) {
#if HWY_TARGET != HWY_NEON
  if (HWY_LIKELY(!hasRareDivisor(d, v))) return hn::Mul(a, refinedReciprocalOfCommon(d, v));
#endif
  return withArmNaN(d, hn::Mul(a, refinedReciprocalOfAny(d, v)), a, v);
}

// The same where all lanes are whole numbers 0 to 255.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V refinedQuotientOfBytes(D d, V a, V v) {
#if HWY_TARGET == HWY_NEON
  return refinedQuotient(d, a, v);
#else
  // Zero has a common estimate too, if a useless one: only those lanes must be replaced.
  const auto zero = hn::Eq(v, hn::Zero(d));
  const auto infinity = hn::Set(d, std::numeric_limits<float>::infinity());
  const auto reciprocal = hn::IfThenElse(zero, infinity, refinedReciprocalOfCommon(d, v));
  // Nothing is negative but the NaN that x86 makes of zero by zero.
  return hn::Abs(hn::Mul(a, reciprocal));
#endif
}

// 1 / v of a normal v by the machine's own estimate and refinement: within 3.2e-7 of it, not the same bits everywhere.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V closeReciprocal(D d, V v) {
#if HWY_TARGET == HWY_NEON
  return refinedReciprocal(d, v);  // 8 bits, 16, then all
#else
  const auto r = hn::ApproximateReciprocal(v);  // 11.4 bits or more
  return hn::MulAdd(r, hn::NegMulAdd(v, r, hn::Set(d, 1.0f)), r);
#endif
}

}  // namespace tamix

// Float to integer as the Arm instructions convert: NaN gives 0, values out of range the nearest representable one.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// The signed 32-bit integers of floats that are already whole, or are to be truncated toward zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> truncateToInt32(D /*d*/, V v) {
  const hn::RebindToSigned<D> di;
#if HWY_TARGET == HWY_NEON
  return hn::ConvertTo(di, v);
#else
  // ConvertTo saturates; only NaN needs mending.
  return hn::ConvertTo(di, hn::IfThenElseZero(hn::Eq(v, v), v));
#endif
}

// Rounded to the nearest integer, ties to even.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> roundToInt32(D d, V v) {
  return truncateToInt32(d, hn::Round(v));
}

// Rounded to the nearest integer, ties away from zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> roundAwayToInt32(D d, V v) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return hn::Vec<hn::RebindToSigned<D>>(vcvtaq_s32_f32(v.raw));
#endif
  // v less its whole part is exact.
  const auto whole = hn::Trunc(v);
  const auto up = hn::Ge(hn::Abs(hn::Sub(v, whole)), hn::Set(d, 0.5f));
  const auto one = hn::CopySign(hn::Set(d, 1.0f), v);
  return truncateToInt32(d, hn::IfThenElse(up, hn::Add(whole, one), whole));
}

// Rounded to the nearest integer, halves up, for values from 0 to 2^22.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> roundHalfUpToInt32(D d, V v) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return hn::Vec<hn::RebindToSigned<D>>(vcvtaq_s32_f32(v.raw));
#endif
  // The float below 1/2: with 1/2 itself the float below 1/2 would become 1. Halves still do, as their sums round up.
  return hn::ConvertTo(hn::RebindToSigned<D>(), hn::Add(v, hn::Set(d, 0.49999997f)));
}

// Rounded toward minus infinity.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> floorToInt32(D d, V v) {
  return truncateToInt32(d, hn::Floor(v));
}

// Truncated toward zero to unsigned 32-bit integers: negative values give 0, values of 2^32 and more 2^32 - 1.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToUnsigned<D>> truncateToUint32(D d, V v) {
  const hn::RebindToUnsigned<D> du;
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return hn::Vec<decltype(du)>(vcvtq_u32_f32(v.raw));
#elif HWY_TARGET <= HWY_AVX3
  // The instruction gives 2^32 - 1 for all it cannot represent: only what is not positive needs mending.
  if constexpr (sizeof(V) == 64) {
    const __mmask16 positive = _mm512_cmp_ps_mask(v.raw, _mm512_setzero_ps(), _CMP_GT_OQ);
    return hn::Vec<decltype(du)>{_mm512_maskz_cvttps_epu32(positive, v.raw)};
  }
#endif
  const auto two31 = hn::Set(d, 2147483648.0f);
  const auto positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
  const auto upper = hn::Ge(positive, two31);
  // The upper half of the range is converted less 2^31, which is added back as the top bit.
  const auto lowered = hn::Sub(positive, hn::IfThenElseZero(upper, two31));
  const auto converted = hn::BitCast(du, truncateToInt32(d, lowered));
  const auto top = hn::IfThenElseZero(hn::RebindMask(du, upper), hn::Set(du, 0x80000000u));
  const auto all = hn::IfThenElseZero(hn::RebindMask(du, hn::Ge(positive, hn::Set(d, 4294967296.0f))), hn::Set(du, ~0u));
  return hn::Or(hn::Or(converted, top), all);
}

// Truncated toward zero and saturated to 0..255; NaN gives 0.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::Rebind<uint8_t, D>> saturateToUint8(D d, V v) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) {
    const uint16x4_t halves = vqmovn_u32(vcvtq_u32_f32(v.raw));
    return hn::Vec<hn::Rebind<uint8_t, D>>(vqmovn_u16(vcombine_u16(halves, halves)));
  }
#elif HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) {
    return hn::Vec<hn::Rebind<uint8_t, D>>{_mm512_cvtusepi32_epi8(truncateToUint32(d, v).raw)};
  }
#endif
  const auto positive = hn::IfThenElseZero(hn::Gt(v, hn::Zero(d)), v);
  const auto whole = hn::ConvertTo(hn::RebindToSigned<D>(), hn::Min(positive, hn::Set(d, 255.0f)));
  return hn::U8FromU32(hn::BitCast(hn::RebindToUnsigned<D>(), whole));
}

// Magnitudes below 2^31, and NaN, which gives an integer whose low byte is 0. Cheaper than the total conversions above.
// Truncated toward zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> truncateInRange(D d, V v) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) return hn::Vec<hn::RebindToSigned<D>>{_mm512_cvttps_epi32(v.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V) == 32) return hn::Vec<hn::RebindToSigned<D>>{_mm256_cvttps_epi32(v.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(V) == 16) return hn::Vec<hn::RebindToSigned<D>>{_mm_cvttps_epi32(v.raw)};
#endif
  return truncateToInt32(d, v);
}

// Rounded to the nearest integer, ties to even.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::RebindToSigned<D>> roundInRange(D d, V v) {
#if HWY_TARGET == HWY_NEON
  (void)d;
  return hn::NearestInt(v);
#else
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) return hn::Vec<hn::RebindToSigned<D>>{_mm512_cvtps_epi32(v.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V) == 32) return hn::Vec<hn::RebindToSigned<D>>{_mm256_cvtps_epi32(v.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(V) == 16) return hn::Vec<hn::RebindToSigned<D>>{_mm_cvtps_epi32(v.raw)};
#endif
  return roundToInt32(d, v);
#endif
}

// Signed 32-bit integers saturated to 0..255. D is their tag.
template <class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<hn::Rebind<uint8_t, D>> saturateInt32ToUint8(D d, V v) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) {
    return hn::Vec<hn::Rebind<uint8_t, D>>{_mm512_cvtusepi32_epi8(hn::Max(v, hn::Zero(d)).raw)};
  }
#endif
  (void)d;
  return hn::DemoteTo(hn::Rebind<uint8_t, D>(), v);
}

}  // namespace tamix

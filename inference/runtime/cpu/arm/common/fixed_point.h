// Widening and narrowing within 128-bit blocks. widenLower/widenUpper and the narrowing functions are each other's inverse at
// every vector width and never cross a block: widen, compute in 16 or 32 bits, narrow, and the elements are back in order.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// The lower (upper) half of every 128-bit block as lanes of twice the width. D is the narrow, unsigned tag.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto widenLower(D d, V v) {
  const hn::RepartitionToWide<D> wide;
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return hn::PromoteTo(wide, hn::LowerHalf(v));
#endif
  return hn::BitCast(wide, hn::InterleaveLower(d, v, hn::Zero(d)));
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE auto widenUpper(D d, V v) {
  const hn::RepartitionToWide<D> wide;
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return hn::PromoteTo(wide, hn::UpperHalf(hn::Half<D>(), v));
#endif
  return hn::BitCast(wide, hn::InterleaveUpper(d, v, hn::Zero(d)));
}

// Signed 16-bit lanes saturated to 0..255; lo and hi as from widenLower and widenUpper. D is a tag of uint8_t.
template <class D, class V16>
HWY_INLINE hn::Vec<D> narrowToUint8(D d, V16 lo, V16 hi) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(hn::Vec<D>) == 16) {
    return hn::Vec<D>(vqmovun_high_s16(vqmovun_s16(lo.raw), hi.raw));
  }
#elif HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(hn::Vec<D>) == 64) return hn::Vec<D>{_mm512_packus_epi16(lo.raw, hi.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(hn::Vec<D>) == 32) return hn::Vec<D>{_mm256_packus_epi16(lo.raw, hi.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(hn::Vec<D>) == 16) return hn::Vec<D>{_mm_packus_epi16(lo.raw, hi.raw)};
#endif
  const hn::Half<D> half;
  return hn::Combine(d, hn::DemoteTo(half, hi), hn::DemoteTo(half, lo));
}

// Signed 32-bit lanes saturated to signed 16 bits.
template <class D, class V32>
HWY_INLINE hn::Vec<D> narrowToInt16(D d, V32 lo, V32 hi) {
  return hn::ReorderDemote2To(d, lo, hi);
}

// (a + b) >> 16 of signed 32-bit lanes, as lanes of the signed 16-bit tag D; lo and hi as from widenLower and widenUpper.
template <class D, class V32>
HWY_INLINE hn::Vec<D> addHighHalf(D d, V32 a_lo, V32 b_lo, V32 a_hi, V32 b_hi) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(hn::Vec<D>) == 16) {
    return hn::Vec<D>(vaddhn_high_s32(vaddhn_s32(a_lo.raw, b_lo.raw), a_hi.raw, b_hi.raw));
  }
#endif
  return narrowToInt16(d, hn::ShiftRight<16>(hn::Add(a_lo, b_lo)), hn::ShiftRight<16>(hn::Add(a_hi, b_hi)));
}

// Signed 16-bit lanes shifted right by kBits (arithmetic, rounding toward minus infinity), then saturated to 0..255.
template <int kBits, class D, class V16>
HWY_INLINE hn::Vec<D> shiftRightNarrowToUint8(D d, V16 lo, V16 hi) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(hn::Vec<D>) == 16) {
    return hn::Vec<D>(vqshrun_high_n_s16(vqshrun_n_s16(lo.raw, kBits), hi.raw, kBits));
  }
#endif
  return narrowToUint8(d, hn::ShiftRight<kBits>(lo), hn::ShiftRight<kBits>(hi));
}

// Unsigned 16-bit lanes (v + 2^(kBits - 1)) >> kBits, which must fit 8 bits; no lane may exceed 65535 - 2^(kBits - 1).
template <int kBits, class D, class V16>
HWY_INLINE hn::Vec<D> roundShiftRightNarrowToUint8(D d, V16 lo, V16 hi) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(hn::Vec<D>) == 16) {
    return hn::Vec<D>(vrshrn_high_n_u16(vrshrn_n_u16(lo.raw, kBits), hi.raw, kBits));
  }
#endif
  const hn::RepartitionToWide<D> d16;
  const hn::RebindToSigned<decltype(d16)> di16;
  const auto half = hn::Set(d16, 1 << (kBits - 1));
  return narrowToUint8(d, hn::BitCast(di16, hn::ShiftRight<kBits>(hn::Add(lo, half))),
                       hn::BitCast(di16, hn::ShiftRight<kBits>(hn::Add(hi, half))));
}

}  // namespace tamix

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

// Two vectors of 32-bit lanes: halves of a vector of 16-bit lanes on NEON, its even and its odd lanes elsewhere.
template <class V32>
struct WideLanes {
  V32 first;
  V32 second;
};

// The 16-bit lanes with zeros above, as signed lanes. D is a tag of uint16_t.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto wideLanes(D d, V v) {
  const hn::RepartitionToWide<D> wide;
  const hn::RebindToSigned<decltype(wide)> wide_signed;
#if HWY_TARGET == HWY_NEON
  const auto first = widenLower(d, v);
  const auto second = widenUpper(d, v);
#else
  (void)d;
  const auto first = hn::And(hn::BitCast(wide, v), hn::Set(wide, 0xFFFF));
  const auto second = hn::ShiftRight<16>(hn::BitCast(wide, v));
#endif
  return WideLanes<hn::Vec<decltype(wide_signed)>>{hn::BitCast(wide_signed, first), hn::BitCast(wide_signed, second)};
}

// (a + b) >> 16 as lanes of the signed 16-bit tag D, in the order that wideLanes() took.
template <class D, class V32>
HWY_INLINE hn::Vec<D> addHighHalf(D d, const WideLanes<V32>& a, const WideLanes<V32>& b) {
#if HWY_TARGET == HWY_NEON
  static_assert(sizeof(hn::Vec<D>) == 16);
  (void)d;
  return hn::Vec<D>(vaddhn_high_s32(vaddhn_s32(a.first.raw, b.first.raw), a.second.raw, b.second.raw));
#else
  const hn::Repartition<uint32_t, D> wide;
  const auto first = hn::ShiftRight<16>(hn::BitCast(wide, hn::Add(a.first, b.first)));
  return hn::OddEven(hn::BitCast(d, hn::Add(a.second, b.second)), hn::BitCast(d, first));
#endif
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

// Signed 16-bit lanes saturated to signed 8 bits; lo and hi as from widenLower and widenUpper. D is a tag of int8_t.
template <class D, class V16>
HWY_INLINE hn::Vec<D> narrowToInt8(D d, V16 lo, V16 hi) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(hn::Vec<D>) == 64) return hn::Vec<D>{_mm512_packs_epi16(lo.raw, hi.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(hn::Vec<D>) == 32) return hn::Vec<D>{_mm256_packs_epi16(lo.raw, hi.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(hn::Vec<D>) == 16) return hn::Vec<D>{_mm_packs_epi16(lo.raw, hi.raw)};
#endif
  const hn::Half<D> half;
  return hn::Combine(d, hn::DemoteTo(half, hi), hn::DemoteTo(half, lo));
}

// The narrowing functions' result in order where lo and hi were consecutive vectors: 64-bit lanes 0, 2, 4 ..., 1, 3, 5 ...
template <class D, class V = hn::Vec<D>>
HWY_INLINE V narrowedInOrder(D d, V v) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) {
    return V{_mm512_permutexvar_epi64(_mm512_set_epi64(7, 5, 3, 1, 6, 4, 2, 0), v.raw)};
  }
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V) == 32) return V{_mm256_permute4x64_epi64(v.raw, 0xD8)};
#endif
  static_assert(sizeof(V) <= 16 || HWY_TARGET <= HWY_AVX2);
  (void)d;
  return v;
}

// (v + 128) >> 8 of consecutive vectors of unsigned 16-bit lanes, none above 65407. D is a tag of uint8_t.
template <class D, class V16>
HWY_INLINE hn::Vec<D> roundedHighBytes(D d, V16 first, V16 second) {
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (sizeof(hn::Vec<D>) == 64) {
    const hn::Repartition<uint16_t, D> d16;
    const auto half = hn::Set(d16, 128);
    alignas(64) uint8_t high[64];
    for (size_t i = 0; i < 64; ++i) high[i] = static_cast<uint8_t>(2 * i + 1);
    return hn::Vec<D>{_mm512_permutex2var_epi8(hn::Add(first, half).raw, hn::Load(d, high).raw, hn::Add(second, half).raw)};
  }
#endif
  return narrowedInOrder(d, roundShiftRightNarrowToUint8<8>(d, first, second));
}

// u[2i] * s[2i] + u[2i + 1] * s[2i + 1], of unsigned and signed bytes; no sum may leave the signed 16-bit range.
template <class D16, class VU, class VS>
HWY_INLINE hn::Vec<D16> multiplyAddPairs(D16 d16, VU u, VS s) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(VU) == 64) return hn::Vec<D16>{_mm512_maddubs_epi16(u.raw, s.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(VU) == 32) return hn::Vec<D16>{_mm256_maddubs_epi16(u.raw, s.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(VU) == 16) return hn::Vec<D16>{_mm_maddubs_epi16(u.raw, s.raw)};
#endif
  const auto u16 = hn::BitCast(d16, u);
  const auto s16 = hn::BitCast(d16, s);
  const auto even = hn::Mul(hn::And(u16, hn::Set(d16, 0xFF)), hn::ShiftRight<8>(hn::ShiftLeft<8>(s16)));
  const hn::RebindToUnsigned<D16> du16;
  const auto odd_u = hn::BitCast(d16, hn::ShiftRight<8>(hn::BitCast(du16, u16)));
  return hn::Add(even, hn::Mul(odd_u, hn::ShiftRight<8>(s16)));
}

// floor((a + b) / 2) of unsigned bytes.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V averageFloor(D d, V a, V b) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return V(vhaddq_u8(a.raw, b.raw));
#endif
  (void)d;
  return hn::Not(hn::AverageRound(hn::Not(a), hn::Not(b)));  // averages of complements round the other way
}

// The two halves of a widened vector.
template <class V>
struct Widened {
  V lower;
  V upper;
};

// kA * a + kB * b + kC * c + e of unsigned bytes as unsigned 16-bit lanes, in the order of widenLower and widenUpper.
// The weights add up to 127 at most, so a lane stays below 2^15.
template <int kA, int kB, int kC, class D, class V = hn::Vec<D>>
HWY_INLINE auto weightedSum(D d, V a, V b, V c, V e) {
  static_assert(kA >= 0 && kB >= 0 && kC >= 0 && kA + kB + kC <= 127);
  const hn::RepartitionToWide<D> d16;
  using V16 = hn::Vec<decltype(d16)>;
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) {
    const uint8x16_t wa = vdupq_n_u8(kA), wb = vdupq_n_u8(kB), wc = vdupq_n_u8(kC);
    const auto half = [](uint8x16_t v) { return vget_low_u8(v); };
    uint16x8_t lower = vmull_u8(half(a.raw), half(wa));
    uint16x8_t upper = vmull_high_u8(a.raw, wa);
    lower = vmlal_u8(vmlal_u8(lower, half(b.raw), half(wb)), half(c.raw), half(wc));
    upper = vmlal_high_u8(vmlal_high_u8(upper, b.raw, wb), c.raw, wc);
    return Widened<V16>{V16(vaddw_u8(lower, half(e.raw))), V16(vaddw_high_u8(upper, e.raw))};
  }
#endif
  const auto ab = hn::Set(d16, static_cast<uint16_t>(kA | (kB << 8)));  // the weights of a byte pair
  const auto ce = hn::Set(d16, static_cast<uint16_t>(kC | (1 << 8)));
  const auto sum = [&](auto pair_ab, auto pair_ce) {
    return hn::Add(multiplyAddPairs(d16, pair_ab, ab), multiplyAddPairs(d16, pair_ce, ce));
  };
  return Widened<V16>{sum(hn::InterleaveLower(d, a, b), hn::InterleaveLower(d, c, e)),
                      sum(hn::InterleaveUpper(d, a, b), hn::InterleaveUpper(d, c, e))};
}

// floor(a * kWeight / 2^15) of signed 16-bit lanes. Where 2 * kWeight exceeds 16 bits, a stays within -2^14..2^14 - 1.
template <int16_t kWeight, class D, class V = hn::Vec<D>>
HWY_INLINE V multiplyShift15(D d, V a) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) return V(vqdmulhq_n_s16(a.raw, kWeight));
#endif
  if constexpr (kWeight < 16384) return hn::MulHigh(a, hn::Set(d, 2 * kWeight));
  return hn::MulHigh(hn::Add(a, a), hn::Set(d, kWeight));
}

}  // namespace tamix

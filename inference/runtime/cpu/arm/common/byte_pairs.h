// Pairs of bytes: splitting and joining even and odd elements, and sums of two weighted bytes.
#pragma once

#include "inference/runtime/cpu/arm/common/fixed_point.h"

namespace tamix {

// The even (odd) bytes as 16-bit lanes: lane i of both belongs to bytes 2i and 2i + 1. D is a tag of uint8_t.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto evenBytes(D d, V v) {
  const hn::RepartitionToWide<D> wide;
  (void)d;
  return hn::And(hn::BitCast(wide, v), hn::Set(wide, 0xFF));
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE auto oddBytes(D d, V v) {
  const hn::RepartitionToWide<D> wide;
  (void)d;
  return hn::ShiftRight<8>(hn::BitCast(wide, v));
}

// Signed 16-bit lanes shifted right by kBits (arithmetic), saturated to 0..255: lane i of `even` becomes byte 2i, lane i of
// `odd` byte 2i + 1.
template <int kBits, class D, class V16>
HWY_INLINE hn::Vec<D> shiftRightJoinToUint8(D d, V16 even, V16 odd) {
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(hn::Vec<D>) == 16) {
    const uint8x8_t e = vqshrun_n_s16(even.raw, kBits);
    const uint8x8_t o = vqshrun_n_s16(odd.raw, kBits);
    return hn::Vec<D>(vzip1q_u8(vcombine_u8(e, e), vcombine_u8(o, o)));
  }
#endif
  // Narrowed within 128-bit blocks: e0..e7 o0..o7.
  alignas(16) static constexpr uint8_t kOrder[16] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
  return hn::TableLookupBytes(shiftRightNarrowToUint8<kBits>(d, even, odd), hn::LoadDup128(d, kOrder));
}

// Where the two bytes of pair i lie in a vector of `lanes` bytes that weightedPairs() takes.
constexpr size_t pairLane(size_t i, size_t side, [[maybe_unused]] size_t lanes) {
#if HWY_TARGET == HWY_NEON
  return lanes / 2 * side + i;  // all first bytes, then all second ones
#else
  return 2 * i + side;
#endif
}

// 16-bit lane i is first * weight + second * weight of pair i. Weights 0..127; a sum must not exceed 32767.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto weightedPairs(D d, V bytes, V weights) {
  const hn::RepartitionToWide<D> wide;
  using V16 = hn::Vec<decltype(wide)>;
#if HWY_TARGET == HWY_NEON
  static_assert(sizeof(V) == 16);
  (void)d;
  return V16(vmlal_high_u8(vmull_u8(vget_low_u8(bytes.raw), vget_low_u8(weights.raw)), bytes.raw, weights.raw));
#else
#if HWY_TARGET <= HWY_AVX3
  if constexpr (sizeof(V) == 64) return V16{_mm512_maddubs_epi16(bytes.raw, weights.raw)};
#endif
#if HWY_TARGET <= HWY_AVX2
  if constexpr (sizeof(V) == 32) return V16{_mm256_maddubs_epi16(bytes.raw, weights.raw)};
#endif
#if HWY_TARGET <= HWY_SSSE3
  if constexpr (sizeof(V) == 16) return V16{_mm_maddubs_epi16(bytes.raw, weights.raw)};
#endif
  return hn::Add(hn::Mul(evenBytes(d, bytes), evenBytes(d, weights)), hn::Mul(oddBytes(d, bytes), oddBytes(d, weights)));
#endif
}

// (a * weight + b * (128 - weight)) >> 7 of bytes; weight 1..127.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V blend7(D d, V a, V b, uint8_t weight) {
  const uint8_t other = static_cast<uint8_t>(128 - weight);
#if HWY_TARGET == HWY_NEON
  if constexpr (sizeof(V) == 16) {
    const uint8x16_t wa = vdupq_n_u8(weight);
    const uint8x16_t wb = vdupq_n_u8(other);
    const uint16x8_t lo = vmlal_u8(vmull_u8(vget_low_u8(a.raw), vget_low_u8(wa)), vget_low_u8(b.raw), vget_low_u8(wb));
    const uint16x8_t hi = vmlal_high_u8(vmull_high_u8(a.raw, wa), b.raw, wb);
    return V(vshrn_high_n_u16(vshrn_n_u16(lo, 7), hi, 7));
  }
#endif
  const hn::RepartitionToWide<D> wide;
  const hn::RebindToSigned<decltype(wide)> wide_signed;
#if HWY_TARGET == HWY_NEON
  const auto wa = hn::Set(wide, weight);
  const auto wb = hn::Set(wide, other);
  const auto lo = hn::Add(hn::Mul(widenLower(d, a), wa), hn::Mul(widenLower(d, b), wb));
  const auto hi = hn::Add(hn::Mul(widenUpper(d, a), wa), hn::Mul(widenUpper(d, b), wb));
#else
  const auto weights = hn::BitCast(d, hn::Set(wide, static_cast<uint16_t>(weight | (other << 8))));
  const auto lo = weightedPairs(d, hn::InterleaveLower(d, a, b), weights);
  const auto hi = weightedPairs(d, hn::InterleaveUpper(d, a, b), weights);
#endif
  return narrowToUint8(d, hn::BitCast(wide_signed, hn::ShiftRight<7>(lo)), hn::BitCast(wide_signed, hn::ShiftRight<7>(hi)));
}

}  // namespace tamix

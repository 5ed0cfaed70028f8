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

#if HWY_TARGET != HWY_NEON
// bytes[2i] * weights[2i] + bytes[2i + 1] * weights[2i + 1]. Weights 0..127; a sum must not exceed 32767.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto multiplyAddNeighbours(D /*d*/, V bytes, V weights) {
  const hn::RepartitionToWide<D> wide;
  const hn::RebindToSigned<decltype(wide)> wide_signed;
  return hn::BitCast(wide, multiplyAddPairs(wide_signed, bytes, hn::BitCast(hn::RebindToSigned<D>(), weights)));
}
#endif

// The even (odd) bytes times a weight, as 16-bit lanes; weight 0..127.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto evenBytesTimes(D d, V v, uint8_t weight) {
  const hn::RepartitionToWide<D> wide;
#if HWY_TARGET == HWY_NEON
  return hn::Mul(evenBytes(d, v), hn::Set(wide, weight));
#else
  return multiplyAddNeighbours(d, v, hn::BitCast(d, hn::Set(wide, weight)));
#endif
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE auto oddBytesTimes(D d, V v, uint8_t weight) {
  const hn::RepartitionToWide<D> wide;
#if HWY_TARGET == HWY_NEON
  return hn::Mul(oddBytes(d, v), hn::Set(wide, weight));
#else
  return multiplyAddNeighbours(d, v, hn::BitCast(d, hn::Set(wide, static_cast<uint16_t>(weight << 8))));
#endif
}

// Lane of byte i as narrowPairs() leaves them.
constexpr unsigned narrowedLane(unsigned i) {
#if HWY_TARGET == HWY_NEON
  return i;
#else
  return i / 16 * 16 + i % 16 / 2 + i % 2 * 8;  // e0..e7 o0..o7 in every 128-bit block
#endif
}

// Signed 16-bit lanes shifted right by kBits (1..8, arithmetic), saturated to 0..255: lane i of `even` becomes byte 2i, lane i
// of `odd` byte 2i + 1, each in its narrowedLane().
template <int kBits, class D, class V16>
HWY_INLINE hn::Vec<D> shiftRightNarrowPairs(D d, V16 even, V16 odd) {
#if HWY_TARGET == HWY_NEON
  // The saturated result in the upper byte of every lane.
  static_assert(sizeof(hn::Vec<D>) == 16);
  (void)d;
  const uint8x16_t e = vreinterpretq_u8_u16(vqshluq_n_s16(even.raw, 8 - kBits));
  const uint8x16_t o = vreinterpretq_u8_u16(vqshluq_n_s16(odd.raw, 8 - kBits));
  return hn::Vec<D>(vtrn2q_u8(e, o));
#else
  return shiftRightNarrowToUint8<kBits>(d, even, odd);
#endif
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
#if HWY_TARGET == HWY_NEON
  static_assert(sizeof(V) == 16);
  (void)d;
  return hn::Vec<hn::RepartitionToWide<D>>(
      vmlal_high_u8(vmull_u8(vget_low_u8(bytes.raw), vget_low_u8(weights.raw)), bytes.raw, weights.raw));
#else
  return multiplyAddNeighbours(d, bytes, weights);
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

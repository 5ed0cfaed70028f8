// Running sums of bytes and of their squares.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Sums in 32-bit lanes. On NEON all lanes belong together; elsewhere lane i sums the bytes 4 * i to 4 * i + 3 of every vector
// that was added, so that groups of four bytes may belong to different channels. D is a tag of uint8_t.
template <class D>
class ByteMoments {
 public:
  // Vectors that may be added before a lane can overflow: 4 * 255^2 each, at most 2^31 - 1 together.
  static constexpr size_t kMost = 8192;

  HWY_INLINE ByteMoments() : sums_(hn::Zero(d32_)), squares_(hn::Zero(d32_)), more_squares_(hn::Zero(d32_)) {}

  HWY_INLINE void add(hn::Vec<D> v) {
#if HWY_TARGET == HWY_NEON
    const uint16x8_t low = vmull_u8(vget_low_u8(v.raw), vget_low_u8(v.raw));
    const uint16x8_t high = vmull_high_u8(v.raw, v.raw);
    sums_.raw = vreinterpretq_s32_u32(vpadalq_u16(vreinterpretq_u32_s32(sums_.raw), vpaddlq_u8(v.raw)));
    squares_.raw = vreinterpretq_s32_u32(vpadalq_u16(vreinterpretq_u32_s32(squares_.raw), low));
    more_squares_.raw = vreinterpretq_s32_u32(vpadalq_u16(vreinterpretq_u32_s32(more_squares_.raw), high));
#else
#if TAMIX_BYTE_PERMUTATIONS
    if constexpr (hn::MaxLanes(D()) == 64) {
      // The second factor is signed: v * (v - 128), which lacks 128 * v.
      const __m512i centred = _mm512_xor_si512(v.raw, _mm512_set1_epi8(-128));
      squares_.raw = _mm512_dpbusd_epi32(squares_.raw, v.raw, centred);
      sums_.raw = _mm512_dpbusd_epi32(sums_.raw, v.raw, _mm512_set1_epi8(1));
      return;
    }
#endif
    const auto both = hn::BitCast(d16_, v);
    const auto even = hn::And(both, hn::Set(d16_, 255));
    const auto odd = hn::BitCast(d16_, hn::ShiftRight<8>(hn::BitCast(hn::RebindToUnsigned<D16>(), both)));
    squares_ = hn::ReorderWidenMulAccumulate(d32_, even, even, squares_, more_squares_);
    squares_ = hn::ReorderWidenMulAccumulate(d32_, odd, odd, squares_, more_squares_);
    sums_ = hn::ReorderWidenMulAccumulate(d32_, hn::Add(even, odd), hn::Set(d16_, 1), sums_, more_squares_);
#endif
  }

  // Hands every lane over as f(lane, sum, squares) and starts again.
  template <class F>
  void drain(const F& f) {
    alignas(64) int32_t sums[hn::MaxLanes(D32())];
    alignas(64) int32_t squares[hn::MaxLanes(D32())];
    hn::Store(sums_, d32_, sums);
    hn::Store(hn::Add(squares_, more_squares_), d32_, squares);
    constexpr int64_t kLacking = TAMIX_BYTE_PERMUTATIONS && hn::MaxLanes(D()) == 64 ? 128 : 0;
    for (size_t i = 0; i < hn::Lanes(d32_); ++i) {
      f(i, static_cast<uint64_t>(sums[i]), static_cast<uint64_t>(squares[i] + kLacking * sums[i]));
    }
    *this = ByteMoments();
  }

 private:
  using D16 = hn::RebindToSigned<hn::RepartitionToWide<D>>;
  using D32 = hn::RepartitionToWide<D16>;
  static constexpr D16 d16_ = {};
  static constexpr D32 d32_ = {};

  hn::Vec<D32> sums_;
  hn::Vec<D32> squares_;
  hn::Vec<D32> more_squares_;  // NEON only; zero elsewhere
};

}  // namespace tamix

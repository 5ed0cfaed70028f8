// Limited-range YUV to RGB with 20 fractional bits in 32-bit lanes: (luma * (Y - 16) + u * (U - 128) + v * (V - 128) +
// rounding) >> 20, saturated to 0..255; Y below 16 counts as 16.
#pragma once

#include <algorithm>

#include "inference/runtime/cpu/arm/common/byte_pairs.h"
#include "inference/runtime/cpu/arm/common/interleave.h"

namespace tamix {

// Weights times 2^20. No sum of the terms leaves 31 bits.
struct YUVWeights {
  int32_t luma;
  int32_t red_v;
  int32_t green_u;
  int32_t green_v;
  int32_t blue_u;
  int32_t rounding;
};

struct RGB {
  uint8_t red;
  uint8_t green;
  uint8_t blue;
};

template <YUVWeights kWeights>
constexpr RGB toRGB(int32_t y, int32_t u, int32_t v) {
  const int32_t luma = kWeights.luma * std::max(y - 16, 0) + kWeights.rounding;
  const auto narrow = [](int32_t sum) { return static_cast<uint8_t>(std::clamp(sum >> 20, 0, 255)); };
  return {narrow(luma + kWeights.red_v * (v - 128)), narrow(luma + kWeights.green_u * (u - 128) + kWeights.green_v * (v - 128)),
          narrow(luma + kWeights.blue_u * (u - 128))};
}

// What the chroma samples add to the channels of their pixels. Built from 16-bit lanes of U and V.
template <YUVWeights kWeights, class D>
class ChromaTerms {
  using D16 = hn::RepartitionToWide<D>;
  using D32 = hn::RebindToSigned<hn::RepartitionToWide<D16>>;
  using V32 = hn::Vec<D32>;

 public:
  HWY_INLINE ChromaTerms(D d, hn::Vec<D16> u, hn::Vec<D16> v) : d_(d) {
    // (U - 128) * weight as U * weight + constant.
    constexpr int32_t kRed = kWeights.rounding - 128 * kWeights.red_v;
    constexpr int32_t kGreen = kWeights.rounding - 128 * (kWeights.green_u + kWeights.green_v);
    constexpr int32_t kBlue = kWeights.rounding - 128 * kWeights.blue_u;
    const V32 u_lo = lower(u), u_hi = upper(u), v_lo = lower(v), v_hi = upper(v);
    red_lo_ = hn::Add(times(v_lo, kWeights.red_v), hn::Set(D32(), kRed));
    red_hi_ = hn::Add(times(v_hi, kWeights.red_v), hn::Set(D32(), kRed));
    green_lo_ = hn::Add(hn::Add(times(u_lo, kWeights.green_u), times(v_lo, kWeights.green_v)), hn::Set(D32(), kGreen));
    green_hi_ = hn::Add(hn::Add(times(u_hi, kWeights.green_u), times(v_hi, kWeights.green_v)), hn::Set(D32(), kGreen));
    blue_lo_ = hn::Add(times(u_lo, kWeights.blue_u), hn::Set(D32(), kBlue));
    blue_hi_ = hn::Add(times(u_hi, kWeights.blue_u), hn::Set(D32(), kBlue));
  }

  // Stores Lanes(d) pixels; lane i of the terms serves lane i of `even` and `odd`, pixels 2i and 2i + 1.
  template <bool kRedFirst>
  HWY_INLINE void store(hn::Vec<D16> even, hn::Vec<D16> odd, uint8_t* HWY_RESTRICT to) const {
    const auto floor = hn::Set(D16(), 16);
    even = hn::SaturatedSub(even, floor);
    odd = hn::SaturatedSub(odd, floor);
    const V32 even_lo = times(lower(even), kWeights.luma), even_hi = times(upper(even), kWeights.luma);
    const V32 odd_lo = times(lower(odd), kWeights.luma), odd_hi = times(upper(odd), kWeights.luma);
    const auto channel = [&](V32 lo, V32 hi) {
      return shiftRightJoinToUint8<4>(d_, addHighHalf(HighHalf(), even_lo, lo, even_hi, hi),
                                      addHighHalf(HighHalf(), odd_lo, lo, odd_hi, hi));
    };
    const auto red = channel(red_lo_, red_hi_);
    const auto green = channel(green_lo_, green_hi_);
    const auto blue = channel(blue_lo_, blue_hi_);
    storeInterleaved3(d_, kRedFirst ? red : blue, green, kRedFirst ? blue : red, to);
  }

 private:
  using HighHalf = hn::RebindToSigned<D16>;

  static HWY_INLINE V32 lower(hn::Vec<D16> v) { return hn::BitCast(D32(), widenLower(D16(), v)); }
  static HWY_INLINE V32 upper(hn::Vec<D16> v) { return hn::BitCast(D32(), widenUpper(D16(), v)); }
  static HWY_INLINE V32 times(V32 v, int32_t weight) { return hn::Mul(v, hn::Set(D32(), weight)); }

  [[no_unique_address]] D d_;
  V32 red_lo_, red_hi_, green_lo_, green_hi_, blue_lo_, blue_hi_;
};

}  // namespace tamix

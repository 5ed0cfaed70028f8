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
  using Wide = WideLanes<hn::Vec<D32>>;

 public:
  HWY_INLINE ChromaTerms(D d, hn::Vec<D16> u, hn::Vec<D16> v) : d_(d) {
    const Wide wide_u = wideLanes(D16(), u);
    const Wide wide_v = wideLanes(D16(), v);
    // (U - 128) * weight as U * weight + constant.
    const Wide red = plus(times(wide_v, kWeights.red_v), kWeights.rounding - 128 * kWeights.red_v);
    const Wide blue = plus(times(wide_u, kWeights.blue_u), kWeights.rounding - 128 * kWeights.blue_u);
    const Wide green_u = plus(times(wide_u, kWeights.green_u), kWeights.rounding - 128 * (kWeights.green_u + kWeights.green_v));
    const Wide green_v = times(wide_v, kWeights.green_v);
    red_ = red;
    green_ = {hn::Add(green_u.first, green_v.first), hn::Add(green_u.second, green_v.second)};
    blue_ = blue;
  }

  // Stores Lanes(d) pixels of luma above 16; lane i of the terms serves lane i of `even` and `odd`, pixels 2i and 2i + 1.
  template <bool kRedFirst>
  HWY_INLINE void store(hn::Vec<D16> even, hn::Vec<D16> odd, uint8_t* HWY_RESTRICT to) const {
    const hn::RebindToSigned<D16> high;
    const Wide wide_even = times(wideLanes(D16(), even), kWeights.luma);
    const Wide wide_odd = times(wideLanes(D16(), odd), kWeights.luma);
    const auto channel = [&](const Wide& term) HWY_ATTR {
      return shiftRightNarrowPairs<4>(d_, addHighHalf(high, wide_even, term), addHighHalf(high, wide_odd, term));
    };
    const auto red = channel(red_);
    const auto green = channel(green_);
    const auto blue = channel(blue_);
    storeInterleaved3<narrowedLane>(d_, kRedFirst ? red : blue, green, kRedFirst ? blue : red, to);
  }

 private:
  static HWY_INLINE Wide times(const Wide& v, int32_t weight) {
    return {hn::Mul(v.first, hn::Set(D32(), weight)), hn::Mul(v.second, hn::Set(D32(), weight))};
  }
  static HWY_INLINE Wide plus(const Wide& v, int32_t constant) {
    return {hn::Add(v.first, hn::Set(D32(), constant)), hn::Add(v.second, hn::Set(D32(), constant))};
  }

  [[no_unique_address]] D d_;
  Wide red_, green_, blue_;
};

}  // namespace tamix

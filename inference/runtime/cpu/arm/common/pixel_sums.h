// Weighted sums of a pixel's bytes without taking the channels apart, where four products are one instruction: kHasPixelSums.
#pragma once

#include <array>

#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/runtime/cpu/arm/common/unrolled.h"

namespace tamix {

// Weights of a pixel's first three bytes in 14 bits, below 2^14 each.
struct PixelWeights {
  int32_t first;
  int32_t second;
  int32_t third;
};

#if TAMIX_BYTE_PERMUTATIONS

// Vectors of 64 bytes.
template <class D>
constexpr bool kHasPixelSums = hn::MaxLanes(D()) == 64;

namespace pixel_sums {

// Quadword q of the narrowed sums holds pixels 2q and 2q + 1 of four parts of 16 pixels each.
alignas(64) inline constexpr auto kInOrder = [] {
  std::array<uint8_t, 64> index{};
  for (size_t p = 0; p < 64; ++p) index[p] = static_cast<uint8_t>(p % 16 / 2 * 8 + p / 16 * 2 + p % 2);
  return index;
}();

// The weights' bits from kShift on, 7 at a time, as bytes of a pixel.
template <PixelWeights kWeights, int kShift>
HWY_INLINE __m512i weightBytes() {
  const auto bits = [](int32_t weight) { return weight >> kShift & 127; };
  return _mm512_set1_epi32(bits(kWeights.first) | bits(kWeights.second) << 8 | bits(kWeights.third) << 16);
}

}  // namespace pixel_sums

// (first * p[0] + second * p[1] + third * p[2] + 2^13) >> 14 of Lanes(d) pixels p of kChannels (3 or 4) bytes, for weights that
// add up to 2^14 at most.
template <PixelWeights kWeights, int kChannels, class D>
HWY_INLINE hn::Vec<D> sumPixels(D /*d*/, const uint8_t* pixels) {
  const __m512i bits_0_to_6 = pixel_sums::weightBytes<kWeights, 0>();
  const __m512i bits_7_to_13 = pixel_sums::weightBytes<kWeights, 7>();
  // Bits 14 to 21 of both sums of a quadword.
  const __m512i shifts = _mm512_set1_epi16(46 << 8 | 14);
  __m512i parts[4];
  if constexpr (kChannels == 3) {
    interleave4::loadSpread(pixels, parts);
  } else {
    unrolled<4>([&](auto k) { parts[k] = _mm512_loadu_si512(pixels + 64 * k); });
  }
  __m512i narrowed = _mm512_setzero_si512();
  unrolled<4>([&](auto k) {
    const __m512i low = _mm512_dpbusd_epi32(_mm512_set1_epi32(1 << 13), parts[k], bits_0_to_6);
    const __m512i high = _mm512_dpbusd_epi32(_mm512_setzero_si512(), parts[k], bits_7_to_13);
    const __m512i sum = _mm512_dpwssd_epi32(low, high, _mm512_set1_epi32(1 << 7));
    narrowed = _mm512_mask_multishift_epi64_epi8(narrowed, 0x0303030303030303u << 2 * k, shifts, sum);
  });
  return hn::Vec<D>{_mm512_permutexvar_epi8(_mm512_load_si512(pixel_sums::kInOrder.data()), narrowed)};
}

#else

template <class D>
constexpr bool kHasPixelSums = false;

template <PixelWeights kWeights, int kChannels, class D>
hn::Vec<D> sumPixels(D d, const uint8_t* /*pixels*/) {
  return hn::Zero(d);
}

#endif

}  // namespace tamix

// A row of 2 x 2 means: half size in both directions.
#pragma once

#include <array>
#include <cstring>

#include "inference/runtime/cpu/arm/common/byte_lookup.h"
#include "inference/runtime/cpu/arm/common/fixed_point.h"

namespace tamix {

// (a + b + c + d + 2) >> 2 of pixel x of the result, scalar.
template <size_t kChannels>
void meanOfSquare(const uint8_t* upper, const uint8_t* lower, size_t x, uint8_t* out) {
  for (size_t c = 0; c < kChannels; ++c) {
    const size_t left = 2 * x * kChannels + c;
    const size_t right = left + kChannels;
    out[x * kChannels + c] = static_cast<uint8_t>((upper[left] + upper[right] + lower[left] + lower[right] + 2) >> 2);
  }
}

#if HWY_TARGET == HWY_NEON

// Pairwise sums of both rows, then one rounding shift: 16 means of one channel.
inline uint8x16_t meansOfSquares(uint8x16_t upper0, uint8x16_t upper1, uint8x16_t lower0, uint8x16_t lower1) {
  const uint16x8_t first = vpadalq_u8(vpaddlq_u8(upper0), lower0);
  const uint16x8_t second = vpadalq_u8(vpaddlq_u8(upper1), lower1);
  return vrshrn_high_n_u16(vrshrn_n_u16(first, 2), second, 2);
}

// 16 pixels; channels are split by the loads and merged by the store. The pointers move on.
template <size_t kChannels>
HWY_INLINE void halve16(const uint8_t*& upper, const uint8_t*& lower, uint8_t*& out) {
  constexpr size_t kStep = 16 * kChannels;
  const auto next = [](const uint8_t*& from) {
    const uint8_t* const at = from;
    from += kStep;
    return at;
  };
  const auto means = [](const auto& a, const auto& b, const auto& c, const auto& d, auto& result) {
    for (size_t k = 0; k < kChannels; ++k) result.val[k] = meansOfSquares(a.val[k], b.val[k], c.val[k], d.val[k]);
  };
  const uint8_t* const u[2] = {next(upper), next(upper)};
  const uint8_t* const l[2] = {next(lower), next(lower)};
  if constexpr (kChannels == 1) {
    vst1q_u8(out, meansOfSquares(vld1q_u8(u[0]), vld1q_u8(u[1]), vld1q_u8(l[0]), vld1q_u8(l[1])));
  } else if constexpr (kChannels == 2) {
    uint8x16x2_t result;
    means(vld2q_u8(u[0]), vld2q_u8(u[1]), vld2q_u8(l[0]), vld2q_u8(l[1]), result);
    vst2q_u8(out, result);
  } else if constexpr (kChannels == 3) {
    uint8x16x3_t result;
    means(vld3q_u8(u[0]), vld3q_u8(u[1]), vld3q_u8(l[0]), vld3q_u8(l[1]), result);
    vst3q_u8(out, result);
  } else {
    uint8x16x4_t result;
    means(vld4q_u8(u[0]), vld4q_u8(u[1]), vld4q_u8(l[0]), vld4q_u8(l[1]), result);
    vst4q_u8(out, result);
  }
  out += kStep;
}

// `width` pixels of 1 to 4 channels; both rows have twice as many. The last vector may overlap the one before it.
template <size_t kChannels>
void halveRow(const uint8_t* upper, const uint8_t* lower, size_t width, uint8_t* out) {
  if (width < 16) {
    for (size_t x = 0; x < width; ++x) meanOfSquare<kChannels>(upper, lower, x, out);
    return;
  }
  // Four at a time: the loop's own instructions are a good part of the work.
  for (size_t n = width / 64; n > 0; --n) {
    for (int k = 0; k < 4; ++k) halve16<kChannels>(upper, lower, out);
  }
  for (size_t n = width % 64 / 16; n > 0; --n) halve16<kChannels>(upper, lower, out);
  if (width % 16 == 0) return;
  const size_t back = (16 - width % 16) * kChannels;
  upper -= 2 * back;
  lower -= 2 * back;
  out -= back;
  halve16<kChannels>(upper, lower, out);
}

#else

// Sums of horizontal neighbours: neighbours are brought side by side, then multiplied by one and added.
template <size_t kChannels, class D16, class V>
HWY_INLINE hn::Vec<D16> sumsOfNeighbours(D16 d16, V bytes) {
  const hn::Repartition<uint8_t, D16> d;
  const auto ones = hn::Set(hn::RebindToSigned<decltype(d)>(), 1);
  if constexpr (kChannels == 1) return multiplyAddPairs(d16, bytes, ones);
  alignas(16) static constexpr uint8_t kPairs2[16] = {0, 2, 1, 3, 4, 6, 5, 7, 8, 10, 9, 11, 12, 14, 13, 15};
  alignas(16) static constexpr uint8_t kPairs4[16] = {0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15};
  return multiplyAddPairs(d16, hn::TableLookupBytes(bytes, hn::LoadDup128(d, kChannels == 2 ? kPairs2 : kPairs4)), ones);
}

// Elements of neighbouring three-channel pixels side by side, as far as whole pairs of pixels reach in kLanes bytes.
template <size_t kLanes>
constexpr std::array<uint8_t, kLanes> pairsOf3() {
  std::array<uint8_t, kLanes> pairs{};
  for (size_t i = 0; i < kLanes / 6 * 3; ++i) {
    pairs[2 * i] = static_cast<uint8_t>(i / 3 * 6 + i % 3);
    pairs[2 * i + 1] = static_cast<uint8_t>(pairs[2 * i] + 3);
  }
  return pairs;
}
template <size_t kLanes>
alignas(64) inline constexpr std::array<uint8_t, kLanes> kPairsOf3 = pairsOf3<kLanes>();

// Three channels: a vector of the source holds kSquares whole pairs of pixels.
inline void halveRowOf3(const uint8_t* HWY_RESTRICT upper, const uint8_t* HWY_RESTRICT lower, size_t n,
                        uint8_t* HWY_RESTRICT out) {
  using D = hn::ScalableTag<uint8_t>;
  constexpr size_t kLanes = hn::MaxLanes(D());
  using Window = ByteWindow<D, kLanes / 16>;
  const D d;
  const hn::ScalableTag<int16_t> d16;
  const hn::Half<D> half;
  constexpr size_t kSquares = kLanes / 6;
  constexpr size_t kMeans = 3 * kSquares;
  const auto ones = hn::Set(hn::RebindToSigned<decltype(d)>(), 1);
  const auto pairs = hn::Load(d, kPairsOf3<kLanes>.data());
  // kMeans means of the vectors at byte i, whose squares begin where `index` says.
  const auto means = [&](size_t i, hn::Vec<D> index) HWY_ATTR {
    const Window a(d, upper + i);
    const Window b(d, lower + i);
    const auto sum = hn::Add(multiplyAddPairs(d16, a.lookup(index), ones), multiplyAddPairs(d16, b.lookup(index), ones));
    return hn::DemoteTo(half, hn::MulFixedPoint15(sum, hn::Set(d16, 1 << 13)));  // (sum + 2) >> 2
  };
  size_t e = 0;
  for (; 2 * e + kLanes <= 2 * n; e += kMeans) hn::StoreU(means(2 * e, pairs), half, out + e);
  if (e == n) return;
  if (2 * n < kLanes) {
    for (; e < n; e += 3) meanOfSquare<3>(upper, lower, e / 3, out);
    return;
  }
  // The row's last kMeans elements, in the row's last whole vector.
  alignas(64) uint8_t last[kLanes / 2];
  const auto shift = hn::Set(d, static_cast<uint8_t>(kLanes - 2 * kMeans));
  hn::Store(means(2 * n - kLanes, hn::Add(pairs, shift)), half, last);
  std::memcpy(out + n - kMeans, last, kMeans);
}

// `width` pixels of 1 to 4 channels; both rows have twice as many. The last vector may overlap the one before it.
template <size_t kChannels>
void halveRow(const uint8_t* HWY_RESTRICT upper, const uint8_t* HWY_RESTRICT lower, size_t width, uint8_t* HWY_RESTRICT out) {
  if constexpr (kChannels == 3) return halveRowOf3(upper, lower, 3 * width, out);
  const hn::ScalableTag<uint8_t> d;
  const hn::ScalableTag<int16_t> d16;
  const size_t n = width * kChannels;
  const auto half = [&](size_t i) HWY_ATTR {
    const auto sum = hn::Add(sumsOfNeighbours<kChannels>(d16, hn::LoadU(d, upper + i)),
                             sumsOfNeighbours<kChannels>(d16, hn::LoadU(d, lower + i)));
    return hn::MulFixedPoint15(sum, hn::Set(d16, 1 << 13));  // (sum + 2) >> 2
  };
  const auto vector = [&](size_t e) HWY_ATTR {
    const auto means = narrowToUint8(d, half(2 * e), half(2 * e + hn::Lanes(d)));
    hn::StoreU(narrowedInOrder(d, means), d, out + e);
  };
  size_t e = 0;
  for (; e + hn::Lanes(d) <= n; e += hn::Lanes(d)) vector(e);
  if (e < n && n >= hn::Lanes(d)) return vector(n - hn::Lanes(d));
  for (size_t x = e / kChannels; x < width; ++x) meanOfSquare<kChannels>(upper, lower, x, out);
}

#endif

}  // namespace tamix

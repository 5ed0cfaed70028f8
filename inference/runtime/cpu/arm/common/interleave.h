// Interleaved loads and stores of three and four channels.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/runtime/cpu/arm/common/unrolled.h"

namespace tamix {

// Which lane of a vector holds element i.
using LaneOf = unsigned (*)(unsigned i);
constexpr unsigned inOrder(unsigned i) { return i; }

#if TAMIX_BYTE_PERMUTATIONS
// 64 pixels of three bytes lie in three registers x0, x1, x2. A permute of each register moves its bytes to lanes such that a
// channel is a blend of the three, up to a last permute of its own: cheaper than permutes of two registers. Stores go the
// other way.
//   lanes       0       1..21   22..42  43..63
//   channel 0   x0      x0      x1      x2
//   channel 1   x1      x2      x0      x1
//   channel 2   x2      x1      x2      x0
namespace interleave3 {

using Index = std::array<uint8_t, 64>;
constexpr uint64_t kLanes1To21 = 0x00000000003FFFFEu;
constexpr uint64_t kLanes22To42 = 0x000007FFFFC00000u;
constexpr uint64_t kLanes43To63 = 0xFFFFF80000000000u;

// The lane of a channel's byte of pixel p.
constexpr size_t laneOf(size_t channel, size_t p) {
  if (channel == 0) return p;
  if (channel == 1) return (p + 22) % 64;
  return p < 21 ? p + 43 : p < 42 ? p - 20 : p == 42 ? 0 : p - 21;
}

// The byte of register k that goes to each lane.
constexpr Index bytesToLanes(size_t k) {
  Index index{};
  for (size_t i = 0; i < 64; ++i) index[laneOf((64 * k + i) % 3, (64 * k + i) / 3)] = static_cast<uint8_t>(i);
  return index;
}

// The lane of each pixel's byte of a channel.
constexpr Index lanesToPixels(size_t channel) {
  Index index{};
  for (size_t p = 0; p < 64; ++p) index[p] = static_cast<uint8_t>(laneOf(channel, p));
  return index;
}

// The lane of each byte of register k.
constexpr Index lanesToBytes(size_t k) {
  Index index{};
  for (size_t i = 0; i < 64; ++i) index[i] = static_cast<uint8_t>(laneOf((64 * k + i) % 3, (64 * k + i) / 3));
  return index;
}

// Where each lane of a channel comes from in a vector that holds pixel p in lane kLaneOf(p).
template <LaneOf kLaneOf>
constexpr Index pixelsToLanes(size_t channel) {
  Index index{};
  for (unsigned p = 0; p < 64; ++p) index[laneOf(channel, p)] = static_cast<uint8_t>(kLaneOf(p));
  return index;
}

alignas(64) inline constexpr Index kBytesToLanes[3] = {bytesToLanes(0), bytesToLanes(1), bytesToLanes(2)};
alignas(64) inline constexpr Index kLanesToPixels[3] = {lanesToPixels(0), lanesToPixels(1), lanesToPixels(2)};
alignas(64) inline constexpr Index kLanesToBytes[3] = {lanesToBytes(0), lanesToBytes(1), lanesToBytes(2)};
template <LaneOf kLaneOf>
alignas(64) inline constexpr Index kPixelsToLanes[3] = {pixelsToLanes<kLaneOf>(0), pixelsToLanes<kLaneOf>(1),
                                                        pixelsToLanes<kLaneOf>(2)};

HWY_INLINE __m512i permute(__m512i v, const Index& index) {
  return _mm512_permutexvar_epi8(_mm512_load_si512(index.data()), v);
}

// `there` in the given lanes, v in the others.
HWY_INLINE __m512i blend(uint64_t lanes, __m512i v, __m512i there) { return _mm512_mask_blend_epi8(lanes, v, there); }

}  // namespace interleave3
#endif

// a[i], b[i], c[i] = from[3i], from[3i + 1], from[3i + 2] for every lane i. Vectors of 16 bytes or more.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void loadInterleaved3(D d, const hn::TFromD<D>* HWY_RESTRICT from, V& a, V& b, V& c) {
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (sizeof(V) == 64 && sizeof(hn::TFromD<D>) == 1) {
    using namespace interleave3;
    const __m512i x0 = permute(_mm512_loadu_si512(from), kBytesToLanes[0]);
    const __m512i x1 = permute(_mm512_loadu_si512(from + 64), kBytesToLanes[1]);
    const __m512i x2 = permute(_mm512_loadu_si512(from + 128), kBytesToLanes[2]);
    a = V{blend(kLanes43To63, blend(kLanes22To42, x0, x1), x2)};
    b = V{permute(blend(kLanes1To21, blend(kLanes22To42, x1, x0), x2), kLanesToPixels[1])};
    c = V{permute(blend(kLanes1To21, blend(kLanes43To63, x2, x0), x1), kLanesToPixels[2])};
    return;
  }
#endif
  hn::LoadInterleaved3(d, from, a, b, c);
}

// Stores element 0 of a, b, c, element 1 of a, b, c, ...: three times Lanes(d) bytes. D is a tag of uint8_t. Lanes in another
// order than the elements' cost nothing with whole-vector byte permutations, one lookup per vector otherwise; their order is
// that of 16 elements, repeated.
template <LaneOf kLaneOf = inOrder, class D, class V = hn::Vec<D>>
HWY_INLINE void storeInterleaved3(D d, V a, V b, V c, uint8_t* HWY_RESTRICT to) {
  constexpr bool kSorted = [] {
    for (unsigned i = 0; i < 16; ++i) {
      if (kLaneOf(i) != i) return false;
    }
    return true;
  }();
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (sizeof(V) == 64) {
    using namespace interleave3;
    const __m512i c0 = kSorted ? a.raw : permute(a.raw, kPixelsToLanes<kLaneOf>[0]);
    const __m512i c1 = permute(b.raw, kPixelsToLanes<kLaneOf>[1]);
    const __m512i c2 = permute(c.raw, kPixelsToLanes<kLaneOf>[2]);
    const __m512i x0 = blend(kLanes43To63, blend(kLanes22To42, c0, c1), c2);
    const __m512i x1 = blend(kLanes1To21, blend(kLanes22To42, c1, c0), c2);
    const __m512i x2 = blend(kLanes1To21, blend(kLanes43To63, c2, c0), c1);
    _mm512_storeu_si512(to, permute(x0, kLanesToBytes[0]));
    _mm512_storeu_si512(to + 64, permute(x1, kLanesToBytes[1]));
    _mm512_storeu_si512(to + 128, permute(x2, kLanesToBytes[2]));
    return;
  }
#endif
  if constexpr (!kSorted) {
    alignas(16) static constexpr auto kOrder = [] {
      std::array<uint8_t, 16> order{};
      for (unsigned i = 0; i < 16; ++i) order[i] = static_cast<uint8_t>(kLaneOf(i));
      return order;
    }();
    const auto order = hn::LoadDup128(d, kOrder.data());
    a = hn::TableLookupBytes(a, order);
    b = hn::TableLookupBytes(b, order);
    c = hn::TableLookupBytes(c, order);
  }
  hn::StoreInterleaved3(a, b, c, d, to);
}

#if TAMIX_BYTE_PERMUTATIONS
namespace interleave4 {

using Index = std::array<uint8_t, 64>;

// Bytes 4 * i + channel and 4 * i + channel + 1 of 128: 32 of each.
constexpr std::array<Index, 2> takePairs4() {
  std::array<Index, 2> result{};
  for (size_t pair = 0; pair < 2; ++pair) {
    for (size_t i = 0; i < 64; ++i) result[pair][i] = static_cast<uint8_t>(4 * (i % 32) + 2 * pair + i / 32);
  }
  return result;
}

// Byte i of pixels 16 * part .. of three bytes, spread to four, as a byte of the two registers from number `part` - 1 (0: 0)
// on. A fourth byte is that of the next pixel.
constexpr std::array<Index, 4> spreadPixels() {
  std::array<Index, 4> result{};
  for (size_t part = 0; part < 4; ++part) {
    for (size_t i = 0; i < 64; ++i) {
      result[part][i] = static_cast<uint8_t>((48 * part + i / 4 * 3 + i % 4 - (part < 2 ? 0 : 64 * (part - 1))) % 128);
    }
  }
  return result;
}

// Byte 64 * part + i of 64 pixels of three bytes, as a byte of the two registers from number `part` on. With swap_ends a
// pixel's first and third byte change places.
constexpr std::array<Index, 3> dropChannel(bool swap_ends) {
  std::array<Index, 3> result{};
  for (size_t part = 0; part < 3; ++part) {
    for (size_t i = 0; i < 64; ++i) {
      const size_t byte = 64 * part + i;
      const size_t channel = swap_ends ? 2 - byte % 3 : byte % 3;
      result[part][i] = static_cast<uint8_t>(byte / 3 * 4 + channel - 64 * part);
    }
  }
  return result;
}

alignas(64) inline constexpr std::array<Index, 4> kSpreadPixels = spreadPixels();
alignas(64) inline constexpr std::array<Index, 3> kDropChannel = dropChannel(false);
alignas(64) inline constexpr std::array<Index, 3> kDropChannelSwapped = dropChannel(true);
alignas(64) inline constexpr std::array<Index, 2> kTakePairs4 = takePairs4();

// 64 pixels of three bytes, 16 a register; a fourth byte is any byte.
HWY_INLINE void loadSpread(const uint8_t* from, __m512i (&parts)[4]) {
  const auto index = [](size_t part) { return _mm512_load_si512(kSpreadPixels[part].data()); };
  const __m512i x0 = _mm512_loadu_si512(from);
  const __m512i x1 = _mm512_loadu_si512(from + 64);
  const __m512i x2 = _mm512_loadu_si512(from + 128);
  parts[0] = _mm512_permutexvar_epi8(index(0), x0);
  parts[1] = _mm512_permutex2var_epi8(x0, index(1), x1);
  parts[2] = _mm512_permutex2var_epi8(x1, index(2), x2);
  parts[3] = _mm512_permutexvar_epi8(index(3), x2);
}

}  // namespace interleave4
#endif

// a[i], b[i], c[i], e[i] = from[4i] ... from[4i + 3] for every lane i. D is a tag of uint8_t.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void loadInterleaved4(D d, const uint8_t* HWY_RESTRICT from, V& a, V& b, V& c, V& e) {
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (sizeof(V) == 64) {
    const auto pairs = [&](size_t pair, size_t half) {
      const __m512i index = _mm512_load_si512(interleave4::kTakePairs4[pair].data());
      return _mm512_permutex2var_epi8(hn::LoadU(d, from + 128 * half).raw, index, hn::LoadU(d, from + 128 * half + 64).raw);
    };
    const __m512i low01 = pairs(0, 0), high01 = pairs(0, 1), low23 = pairs(1, 0), high23 = pairs(1, 1);
    a = V{_mm512_shuffle_i64x2(low01, high01, 0x44)};
    b = V{_mm512_shuffle_i64x2(low01, high01, 0xEE)};
    c = V{_mm512_shuffle_i64x2(low23, high23, 0x44)};
    e = V{_mm512_shuffle_i64x2(low23, high23, 0xEE)};
    return;
  }
#endif
  hn::LoadInterleaved4(d, from, a, b, c, e);
}

// Lanes(d) pixels of three bytes to four, the fourth zero.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void appendZeroChannel(D d, const uint8_t* src, uint8_t* dst) {
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (sizeof(V) == 64) {
    __m512i parts[4];
    interleave4::loadSpread(src, parts);
    const __m512i channels = _mm512_set1_epi32(0x00FFFFFF);
    unrolled<4>([&](auto k) { hn::StoreU(V{_mm512_and_si512(parts[k], channels)}, d, dst + 64 * k); });
    return;
  }
#endif
  V c0, c1, c2;
  loadInterleaved3(d, src, c0, c1, c2);
  hn::StoreInterleaved4(c0, c1, c2, hn::Zero(d), d, dst);
}

// Lanes(d) pixels of four bytes to their first three, kSwapEnds: in reverse order. dst may be src.
template <bool kSwapEnds, class D, class V = hn::Vec<D>>
HWY_INLINE void dropFourthChannel(D d, const uint8_t* src, uint8_t* dst) {
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (sizeof(V) == 64) {
    const auto& drop = kSwapEnds ? interleave4::kDropChannelSwapped : interleave4::kDropChannel;
    V pixels = hn::LoadU(d, src);
    for (size_t part = 0; part < 3; ++part) {
      const V next = hn::LoadU(d, src + 64 * (part + 1));
      const __m512i index = _mm512_load_si512(drop[part].data());
      hn::StoreU(V{_mm512_permutex2var_epi8(pixels.raw, index, next.raw)}, d, dst + 64 * part);
      pixels = next;
    }
    return;
  }
#endif
  V c0, c1, c2, c3;
  loadInterleaved4(d, src, c0, c1, c2, c3);
  storeInterleaved3(d, kSwapEnds ? c2 : c0, c1, kSwapEnds ? c0 : c2, dst);
}

}  // namespace tamix

// Transposition in registers: tiles of 16 bytes a row, several of them side by side in wider vectors.
#pragma once

#include <array>

#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/runtime/cpu/arm/common/unrolled.h"

namespace tamix {

// Block b from 16 bytes at p + b * step.
template <class D>
HWY_INLINE hn::Vec<D> loadBlocks(D d, const uint8_t* p, ptrdiff_t step) {
  constexpr size_t kBlocks = hn::MaxLanes(D()) / 16;
  if constexpr (kBlocks == 1) {
    return hn::LoadU(d, p);
#if HWY_TARGET <= HWY_AVX3
  } else if constexpr (kBlocks == 4) {
    const auto block = [&](ptrdiff_t b) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + b * step)); };
    __m512i v = _mm512_castsi128_si512(block(0));
    v = _mm512_mask_broadcast_i32x4(v, 0x00F0, block(1));
    v = _mm512_mask_broadcast_i32x4(v, 0x0F00, block(2));
    v = _mm512_mask_broadcast_i32x4(v, 0xF000, block(3));
    return hn::Vec<D>{v};
#endif
  } else {
    const hn::Half<D> half;
    constexpr auto kHalf = static_cast<ptrdiff_t>(kBlocks / 2);
    return hn::Combine(d, loadBlocks(half, p + kHalf * step, step), loadBlocks(half, p, step));
  }
}

// In every 128-bit block, lane i of v[j] goes to lane j of v[i]. D is the tag of the lanes, n lanes to a block.
template <class D, size_t n, size_t kRound = 1, class V = hn::Vec<D>>
HWY_INLINE void transposeBlocks(D d, V (&v)[n]) {
  static_assert(n * sizeof(hn::TFromD<D>) == 16);
  // Every round interleaves the upper half of the vectors into the lower half, which rotates the bits of the position
  // (vector, lane) by one.
  V next[n];
  unrolled<n / 2>([&](auto i) __attribute__((always_inline)) {
    next[2 * i] = hn::InterleaveLower(d, v[i], v[i + n / 2]);
    next[2 * i + 1] = hn::InterleaveUpper(d, v[i], v[i + n / 2]);
  });
  unrolled<n>([&](auto i) __attribute__((always_inline)) { v[i] = next[i]; });
  if constexpr (2 * kRound < n) transposeBlocks<D, n, 2 * kRound>(d, v);
}

// The first three bytes of every four, closed up at the front; the rest is arbitrary.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V dropEveryFourth(D d, V v) {
  constexpr size_t kLanes = hn::MaxLanes(D());
#if TAMIX_BYTE_PERMUTATIONS
  if constexpr (kLanes == 64) {
    alignas(64) static constexpr auto kIndex = [] {
      std::array<uint8_t, 64> index{};
      for (size_t i = 0; i < 48; ++i) index[i] = static_cast<uint8_t>(i / 3 * 4 + i % 3);
      return index;
    }();
    return V{_mm512_permutexvar_epi8(_mm512_load_si512(kIndex.data()), v.raw)};
  }
#endif
  // Within every block, then the three words of each block together.
  alignas(16) static constexpr uint8_t kBytes[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
  const V closed = hn::TableLookupBytes(v, hn::LoadDup128(d, kBytes));
  if constexpr (kLanes == 16) return closed;
  const hn::Repartition<uint32_t, D> d32;
  alignas(64) static constexpr auto kWords = [] {
    std::array<int32_t, kLanes / 4> index{};
    for (size_t i = 0; i < kLanes / 16 * 3; ++i) index[i] = static_cast<int32_t>(i / 3 * 4 + i % 3);
    return index;
  }();
  return hn::BitCast(d, hn::TableLookupLanes(hn::BitCast(d32, closed), hn::SetTableIndices(d32, kWords.data())));
}

}  // namespace tamix

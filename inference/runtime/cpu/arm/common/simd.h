// Vectors of any width, and the one way to walk a row with them.
#pragma once

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

// 1 where vectors of 64 bytes permute their bytes freely and add up products of bytes. Highway's own target for that asks for
// AVX-VNNI as well, which many such processors lack.
#if (HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL) && defined(__AVX512VBMI__) && defined(__AVX512VBMI2__) && \
    defined(__AVX512VNNI__)
#define TAMIX_BYTE_PERMUTATIONS 1
#else
#define TAMIX_BYTE_PERMUTATIONS 0
#endif

namespace tamix {

namespace hn = hwy::HWY_NAMESPACE;

// Elements in whole vectors. Loops that compare with it need no sum per turn.
template <class D>
constexpr size_t wholeVectors(D d, size_t n) {
  return n - n % hn::MaxLanes(d);
}

// Whole blocks of kBlock with body(d, i), which computes Lanes(d) elements from i on, then the rest with tail(i). Wide
// machines take several blocks at a time; where the tail starts depends on n and kBlock alone.
template <class T, size_t kBlock, class Body, class Tail>
HWY_INLINE void walkRow(size_t n, const Body& body, const Tail& tail) {
  const hn::ScalableTag<T> wide;
  const hn::CappedTag<T, kBlock> block;
  const size_t blocks_end = n - n % kBlock;
  size_t i = 0;
  if constexpr (hn::MaxLanes(wide) > kBlock) {
    for (const size_t end = wholeVectors(wide, n); i != end; i += hn::Lanes(wide)) body(wide, i);
  }
  for (; i != blocks_end; i += hn::Lanes(block)) body(block, i);
#ifdef __clang__
#pragma clang loop vectorize(disable) unroll(disable)  // Too short for vectors: they would only cost the blocks registers.
#endif
  for (size_t k = blocks_end; k < n; ++k) tail(k);
}

// The same where blocks and tail agree: whole vectors, then 128-bit ones, then one lane at a time.
template <class T, class Body>
HWY_INLINE void walkRow(size_t n, const Body& body) {
  const hn::ScalableTag<T> wide;
  const hn::CappedTag<T, 16 / sizeof(T)> narrow;
  const hn::CappedTag<T, 1> one;
  size_t i = 0;
  for (const size_t end = wholeVectors(wide, n); i != end; i += hn::Lanes(wide)) body(wide, i);
  if constexpr (hn::MaxLanes(wide) > hn::MaxLanes(narrow)) {
    for (const size_t end = wholeVectors(narrow, n); i != end; i += hn::Lanes(narrow)) body(narrow, i);
  }
  for (; i < n; ++i) body(one, i);
}

// f(d64, v64...) on float lanes as doubles, rounded back to floats once.
template <class D, class F, class... V>
HWY_INLINE hn::Vec<D> inDoubles(D d, const F& f, V... v) {
  if constexpr (hn::MaxLanes(d) <= 2) {
    const hn::Rebind<double, D> wide;
    return hn::DemoteTo(d, f(wide, hn::PromoteTo(wide, v)...));
  } else {
    const hn::Half<D> half;
    const hn::Rebind<double, decltype(half)> wide;
    const auto lower = hn::DemoteTo(half, f(wide, hn::PromoteTo(wide, hn::LowerHalf(half, v))...));
    const auto upper = hn::DemoteTo(half, f(wide, hn::PromoteTo(wide, hn::UpperHalf(half, v))...));
    return hn::Combine(d, upper, lower);
  }
}

// A row's results by whole vectors body(d, i), where body may compute elements beyond the last: those of an incomplete last
// vector are dropped.
template <class T, class Body>
HWY_INLINE void writeRow(T* HWY_RESTRICT row, size_t n, const Body& body) {
  const hn::ScalableTag<T> d;
  size_t i = 0;
  for (const size_t end = wholeVectors(d, n); i != end; i += hn::Lanes(d)) hn::StoreU(body(d, i), d, row + i);
  if (i == n) return;
  alignas(64) T last[hn::MaxLanes(d)];
  hn::Store(body(d, i), d, last);
  std::memcpy(row + i, last, (n - i) * sizeof(T));
}

}  // namespace tamix

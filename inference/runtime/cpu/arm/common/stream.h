// Writing results that are too large to stay in the caches: past them, which saves reading what is overwritten.
#pragma once

#include <hwy/cache_control.h>

#include <algorithm>
#include <cstring>

#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Whether a result of so many bytes is worth it. Arm cores find long runs of stores themselves.
constexpr bool isStreamed(size_t bytes) { return HWY_ARCH_X86 != 0 && bytes >= size_t{16} << 20; }

// Bytes from p to the next cache line.
inline size_t bytesToLine(const void* p) { return (64 - reinterpret_cast<uintptr_t>(p) % 64) % 64; }

// Copies n bytes past the caches; no overlap. finishStreaming() makes them visible to other threads.
// What is `ahead` bytes behind is asked for early.
inline void streamBytes(uint8_t* HWY_RESTRICT dst, const uint8_t* HWY_RESTRICT src, size_t n, ptrdiff_t ahead = 0) {
  const hn::ScalableTag<uint8_t> d;
  const size_t lanes = hn::Lanes(d);
  const size_t head = std::min(n, bytesToLine(dst));
  std::memcpy(dst, src, head);
  size_t i = head;
  for (; i + lanes <= n; i += lanes) {
    if (ahead != 0) hwy::Prefetch(src + static_cast<ptrdiff_t>(i) + ahead);
    hn::Stream(hn::LoadU(d, src + i), d, dst + i);
  }
  std::memcpy(dst + i, src + i, n - i);
}

inline void finishStreaming() { hwy::FlushStream(); }

// copyRows() for a whole image.
template <class T>
void copyImage(const Plane<const T>& src, const Plane<T>& dst, int32_t height, size_t n) {
  const bool streamed =
      isStreamed(rowElements(height) * n * sizeof(T)) && !overlap(memoryOf(src, height, n), memoryOf(dst, height, n));
  if (!streamed) return copyRows(src, dst, height, n);
  joinRows(height, n, src, dst);
  // Rows from the last to the first: the next row is not found by itself.
  const ptrdiff_t ahead = src.pitch < 0 ? src.pitch * static_cast<ptrdiff_t>(sizeof(T)) : 0;
  for (ptrdiff_t y = 0; y < height; ++y) {
    streamBytes(reinterpret_cast<uint8_t*>(dst.row(y)), reinterpret_cast<const uint8_t*>(src.row(y)), n * sizeof(T), ahead);
  }
  finishStreaming();
}

}  // namespace tamix

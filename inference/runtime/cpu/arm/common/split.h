// Separation of three interleaved channels, for every element type.
#pragma once

#include <algorithm>

#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/stream.h"

namespace tamix {

// planes[j][k] = src[3k + j] for k < n.
template <class T>
void splitRun(const T* src, size_t n, T* const (&planes)[3]) {
  constexpr size_t kBlock = 16 / sizeof(T);
  walkRow<T, kBlock>(
      n,
      [&](auto d, size_t k) {
        hn::Vec<decltype(d)> v0, v1, v2;
        loadInterleaved3(d, src + 3 * k, v0, v1, v2);
        hn::StoreU(v0, d, planes[0] + k);
        hn::StoreU(v1, d, planes[1] + k);
        hn::StoreU(v2, d, planes[2] + k);
      },
      [&](size_t k) {
        for (size_t j = 0; j < 3; ++j) planes[j][k] = src[3 * k + j];
      });
}

// The same past the caches, for planes that lie alike in their cache lines.
template <class T>
void streamSplit(const T* HWY_RESTRICT src, size_t n, T* const (&planes)[3]) {
  const hn::ScalableTag<T> d;
  const size_t lanes = hn::Lanes(d);
  const size_t head = std::min(n, bytesToLine(planes[0]) / sizeof(T));
  splitRun(src, head, planes);
  size_t k = head;
  for (; k + lanes <= n; k += lanes) {
    hn::Vec<decltype(d)> v0, v1, v2;
    loadInterleaved3(d, src + 3 * k, v0, v1, v2);
    hn::Stream(v0, d, planes[0] + k);
    hn::Stream(v1, d, planes[1] + k);
    hn::Stream(v2, d, planes[2] + k);
  }
  splitRun(src + 3 * k, n - k, {planes[0] + k, planes[1] + k, planes[2] + k});
  finishStreaming();
}

// The same for a whole image.
template <class T>
void splitImage(const T* src, size_t n, T* const (&planes)[3]) {
  const size_t to_line = bytesToLine(planes[0]);
  const bool alike = to_line % sizeof(T) == 0 && bytesToLine(planes[1]) == to_line && bytesToLine(planes[2]) == to_line;
  if (alike && isStreamed(3 * n * sizeof(T))) return streamSplit(src, n, planes);
  splitRun(src, n, planes);
}

}  // namespace tamix

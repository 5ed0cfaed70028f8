// Separation of three interleaved channels, for every element type.
#pragma once

#include <algorithm>

#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/stream.h"
#include "inference/runtime/cpu/arm/common/unrolled.h"

namespace tamix {

// planes[j][k] = src[3k + j] for k < n.
template <class T>
void splitRun(const T* src, size_t n, T* const (&planes)[3]) {
  constexpr size_t kBlock = 16 / sizeof(T);
  const hn::ScalableTag<T> wide;
  const size_t lanes = hn::Lanes(wide);
  T* HWY_RESTRICT const p0 = planes[0];
  T* HWY_RESTRICT const p1 = planes[1];
  T* HWY_RESTRICT const p2 = planes[2];
  size_t done = 0;
  for (; done + 4 * lanes <= n; done += 4 * lanes) {
    hn::Vec<decltype(wide)> v0[4], v1[4], v2[4];
    unrolled<4>([&](auto i) __attribute__((always_inline)) {
      loadInterleaved3(wide, src + 3 * (done + i * lanes), v0[i], v1[i], v2[i]);
    });
    unrolled<4>([&](auto i) __attribute__((always_inline)) { hn::StoreU(v0[i], wide, p0 + done + i * lanes); });
    unrolled<4>([&](auto i) __attribute__((always_inline)) { hn::StoreU(v1[i], wide, p1 + done + i * lanes); });
    unrolled<4>([&](auto i) __attribute__((always_inline)) { hn::StoreU(v2[i], wide, p2 + done + i * lanes); });
  }
  src += 3 * done;
  T* const rest[3] = {p0 + done, p1 + done, p2 + done};
  walkRow<T, kBlock>(
      n - done,
      [&](auto d, size_t k) {
        hn::Vec<decltype(d)> v0, v1, v2;
        loadInterleaved3(d, src + 3 * k, v0, v1, v2);
        hn::StoreU(v0, d, rest[0] + k);
        hn::StoreU(v1, d, rest[1] + k);
        hn::StoreU(v2, d, rest[2] + k);
      },
      [&](size_t k) {
        for (size_t j = 0; j < 3; ++j) rest[j][k] = src[3 * k + j];
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

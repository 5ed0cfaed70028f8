// Separation of three interleaved channels, for every element type.
#pragma once

#include "inference/runtime/cpu/arm/common/interleave.h"

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

}  // namespace tamix

// Sums of square windows of floats in row-major order, in which single precision rounds them.
#pragma once

#include <algorithm>

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// kRows windows one below the other, kSize elements wide and high, kStep elements from column to column: each row is loaded
// once for all of them. Row k of window r begins at rows[r + k] + x.
template <size_t kSize, size_t kStep, size_t kRows, class D>
HWY_INLINE void windowSums(D d, const float* const* rows, size_t x, hn::Vec<D> (&sum)[kRows]) {
  HWY_UNROLL(16)
  for (size_t k = 0; k < kRows + kSize - 1; ++k) {
    hn::Vec<D> shifted[kSize];
    for (size_t c = 0; c < kSize; ++c) shifted[c] = hn::LoadU(d, rows[k] + x + c * kStep);
    // The windows that contain this row, the last of them beginning here.
    for (size_t r = k < kSize ? 0 : k - kSize + 1; r < std::min(k + 1, kRows); ++r) {
      if (r == k) sum[r] = shifted[0];
      for (size_t c = r == k ? 1 : 0; c < kSize; ++c) sum[r] = hn::Add(sum[r], shifted[c]);
    }
  }
}

}  // namespace tamix

// Sums of neighbouring lanes.
#pragma once

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Sums of products of neighbouring signed 16-bit lanes, from the two sums that ReorderWidenMulAccumulate keeps: lane i is the
// sum of lanes 2i and 2i + 1.
template <class D, class V32>
HWY_INLINE V32 joinPairSums(D /*d*/, V32 sum0, [[maybe_unused]] V32 sum1) {
#if HWY_TARGET == HWY_NEON
  // The lower four products are in sum0, the upper four in sum1.
  static_assert(sizeof(V32) == 16);
  return V32(vpaddq_s32(sum0.raw, sum1.raw));
#else
  // The multiply-add instruction adds neighbours itself and leaves sum1 alone.
  return sum0;
#endif
}

// Sums of neighbouring 32-bit lanes: those of lo, then those of hi. One 128-bit block.
template <class D, class V32>
HWY_INLINE V32 addNeighbours(D d, V32 lo, V32 hi) {
#if HWY_TARGET == HWY_NEON
  (void)d;
  return V32(vpaddq_s32(lo.raw, hi.raw));
#else
  return hn::Add(hn::ConcatEven(d, hi, lo), hn::ConcatOdd(d, hi, lo));
#endif
}

}  // namespace tamix

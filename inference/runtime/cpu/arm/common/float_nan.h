// The NaN of an invalid operation, such as 0 / 0, as Arm makes it.
#pragma once

#include <limits>

#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// `result` of an operation on a and b. Where it is NaN though neither operand is, it becomes the positive quiet NaN, which Arm
// gives by itself; x86 gives the negative one.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V withArmNaN(D d, V result, [[maybe_unused]] V a, [[maybe_unused]] V b) {
#if HWY_TARGET == HWY_NEON
  (void)d;
  return result;
#else
  const auto invalid = hn::AndNot(hn::Or(hn::IsNaN(a), hn::IsNaN(b)), hn::IsNaN(result));
  return hn::IfThenElse(invalid, hn::Set(d, std::numeric_limits<hn::TFromD<D>>::quiet_NaN()), result);
#endif
}

// `result` of many operations, where every NaN becomes the positive quiet NaN on processors that make negative ones.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V withPositiveNaN([[maybe_unused]] D d, V result) {
#if HWY_TARGET == HWY_NEON
  return result;
#else
  return hn::IfThenElse(hn::IsNaN(result), hn::Set(d, std::numeric_limits<hn::TFromD<D>>::quiet_NaN()), result);
#endif
}

}  // namespace tamix

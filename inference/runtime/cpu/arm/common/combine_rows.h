// Element-wise operations on rows: dst[i] = f(src[i]...), bytes and floats mixed, in place or not.
#pragma once

#include <type_traits>

#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"

namespace tamix {

// Elements as lanes of d: a byte in a float lane is the equal float.
template <class D, class T>
HWY_INLINE hn::Vec<D> loadLanes(D d, const T* src) {
  if constexpr (std::is_same_v<T, hn::TFromD<D>>) {
    return hn::LoadU(d, src);
  } else {
    const auto bytes = hn::LoadU(hn::Rebind<T, D>(), src);
    return hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<D>(), bytes));
  }
}

// Lanes of d as elements: floats become bytes truncated and saturated.
template <class D, class T>
HWY_INLINE void storeLanes(D d, hn::Vec<D> v, T* dst) {
  if constexpr (std::is_same_v<T, hn::TFromD<D>>) {
    hn::StoreU(v, d, dst);
  } else {
    hn::StoreU(saturateToUint8(d, v), hn::Rebind<T, D>(), dst);
  }
}

// What an operation computes in: T; unless that is void, the elements' own type where all agree, else floats.
template <class T, class Out, class... In>
using Lane = std::conditional_t<!std::is_void_v<T>, T, std::conditional_t<(std::is_same_v<In, Out> && ...), Out, float>>;

// walk(step, one_by_one) for every row. step(op) is a walker's body that gives elements op(d, a...) of the sources' lanes;
// where one_by_one, the row's elements must be taken one at a time.
template <class Walk, class Out, class... In>
HWY_INLINE void forEachRow(Plane<Out> dst, int32_t height, size_t n, const Walk& walk, Plane<const In>... src) {
  if (n == 0) return;
  for (int32_t y = 0; y < height; ++y) {
    Out* const out = dst.row(y);
    const auto walkWith = [&](const In*... in) HWY_ATTR {
      const auto step = [=](const auto& op) HWY_ATTR {
        return [=](auto d, size_t i) HWY_ATTR { storeLanes(d, op(d, loadLanes(d, in + i)...), out + i); };
      };
      walk(step, (writesAhead(out, in, n) || ...));
    };
    walkWith(src.row(y)...);
  }
}

// dst[i] = op(d, src[i]...), wherever i lies.
template <class T = void, class Op, class Out, class... In>
void combineRows(Plane<Out> dst, int32_t height, size_t n, const Op& op, Plane<const In>... src) {
  joinRows(height, n, dst, src...);
  const auto walk = [&](const auto& step, bool one_by_one) HWY_ATTR {
    if (one_by_one) {
      for (size_t i = 0; i < n; ++i) step(op)(hn::CappedTag<Lane<T, Out, In...>, 1>(), i);
    } else {
      walkRow<Lane<T, Out, In...>>(n, step(op));
    }
  };
  forEachRow(dst, height, n, walk, src...);
}

// The same with an operation for a row's whole blocks of kBlock elements and one for its tail, in lanes of T.
template <class T, size_t kBlock, class BlockOp, class TailOp, class Out, class... In>
void combineBlocks(Plane<Out> dst, int32_t height, size_t n, const BlockOp& block_op, const TailOp& tail_op,
                   Plane<const In>... src) {
  const hn::CappedTag<T, 1> one;
  const size_t blocks_end = n - n % kBlock;
  const auto walk = [&](const auto& step, bool one_by_one) HWY_ATTR {
    if (one_by_one) {
      for (size_t i = 0; i < blocks_end; ++i) step(block_op)(one, i);
      for (size_t i = blocks_end; i < n; ++i) step(tail_op)(one, i);
    } else {
      walkRow<T, kBlock>(n, step(block_op), [&](size_t i) HWY_ATTR { step(tail_op)(one, i); });
    }
  };
  forEachRow(dst, height, n, walk, src...);
}

}  // namespace tamix

// Element-wise operations on rows: dst[i] = f(src[i]...), bytes, floats and doubles mixed, in place or not.
#pragma once

#include <algorithm>
#include <tuple>
#include <type_traits>
#include <utility>

#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/runtime/cpu/arm/common/stream.h"

namespace tamix {

// Elements as lanes of d: bytes in float lanes and floats in double lanes are the equal floating-point numbers.
template <class D, class T>
HWY_INLINE hn::Vec<D> loadLanes(D d, const T* src) {
  if constexpr (std::is_same_v<T, hn::TFromD<D>>) {
    return hn::LoadU(d, src);
  } else if constexpr (std::is_same_v<T, float>) {
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<float, D>(), src));
  } else {
    const auto bytes = hn::LoadU(hn::Rebind<T, D>(), src);
    return hn::ConvertTo(d, hn::PromoteTo(hn::RebindToSigned<D>(), bytes));
  }
}

// Lanes as elements: floats become bytes truncated and saturated, 32-bit integers bytes without their upper bits, doubles
// floats.
template <class D, class V, class T>
HWY_INLINE void storeLanes(D d, V v, T* dst) {
  if constexpr (std::is_same_v<V, hn::Vec<hn::RebindToUnsigned<D>>> && !std::is_same_v<T, hn::TFromD<D>>) {
    const auto low_bytes = hn::And(v, hn::Set(hn::RebindToUnsigned<D>(), 0xFFu));
    hn::StoreU(hn::U8FromU32(low_bytes), hn::Rebind<T, D>(), dst);
  } else if constexpr (std::is_same_v<V, hn::Vec<hn::RebindToSigned<D>>> && !std::is_same_v<T, hn::TFromD<D>>) {
    hn::StoreU(saturateInt32ToUint8(hn::RebindToSigned<D>(), v), hn::Rebind<T, D>(), dst);
  } else if constexpr (std::is_same_v<T, hn::TFromD<D>>) {
    hn::StoreU(v, d, dst);
  } else if constexpr (std::is_same_v<T, float>) {
    hn::StoreU(hn::DemoteTo(hn::Rebind<float, D>(), v), hn::Rebind<float, D>(), dst);
  } else {
    hn::StoreU(saturateToUint8(d, v), hn::Rebind<T, D>(), dst);
  }
}

// Four vectors that follow each other in a row.
template <class V>
struct Quad {
  V v[4];
};

template <class D, class T>
HWY_INLINE Quad<hn::Vec<D>> loadQuad(D d, const T* src) {
  using V [[maybe_unused]] = hn::Vec<D>;
#if HWY_TARGET == HWY_NEON
  if constexpr (std::is_same_v<T, uint8_t> && std::is_same_v<hn::TFromD<D>, float>) {
    const uint8x16_t bytes = vld1q_u8(src);
    const uint16x8_t lower = vmovl_u8(vget_low_u8(bytes));
    const uint16x8_t upper = vmovl_high_u8(bytes);
    return {{V(vcvtq_f32_u32(vmovl_u16(vget_low_u16(lower)))), V(vcvtq_f32_u32(vmovl_high_u16(lower))),
             V(vcvtq_f32_u32(vmovl_u16(vget_low_u16(upper)))), V(vcvtq_f32_u32(vmovl_high_u16(upper)))}};
  }
  if constexpr (std::is_same_v<T, float> && std::is_same_v<hn::TFromD<D>, double>) {
    const float32x4_t lower = vld1q_f32(src);
    const float32x4_t upper = vld1q_f32(src + 4);
    return {{V(vcvt_f64_f32(vget_low_f32(lower))), V(vcvt_high_f64_f32(lower)), V(vcvt_f64_f32(vget_low_f32(upper))),
             V(vcvt_high_f64_f32(upper))}};
  }
#endif
  const size_t lanes = hn::Lanes(d);
  return {{loadLanes(d, src), loadLanes(d, src + lanes), loadLanes(d, src + 2 * lanes), loadLanes(d, src + 3 * lanes)}};
}

// kStream: past the caches, where dst is aligned to a vector and no conversion is needed.
template <bool kStream, class D, class V, class T>
HWY_INLINE void storeQuad(D d, const Quad<V>& q, T* dst) {
#if HWY_TARGET == HWY_NEON
  if constexpr (std::is_same_v<T, uint8_t> && std::is_same_v<V, hn::Vec<hn::Simd<float, 4, 0>>>) {
    const uint16x8_t lower = vqmovn_high_u32(vqmovn_u32(vcvtq_u32_f32(q.v[0].raw)), vcvtq_u32_f32(q.v[1].raw));
    const uint16x8_t upper = vqmovn_high_u32(vqmovn_u32(vcvtq_u32_f32(q.v[2].raw)), vcvtq_u32_f32(q.v[3].raw));
    return vst1q_u8(dst, vqmovn_high_u16(vqmovn_u16(lower), upper));
  }
  if constexpr (std::is_same_v<T, uint8_t> && std::is_same_v<V, hn::Vec<hn::Simd<int32_t, 4, 0>>>) {
    const uint16x8_t lower = vqmovun_high_s32(vqmovun_s32(q.v[0].raw), q.v[1].raw);
    const uint16x8_t upper = vqmovun_high_s32(vqmovun_s32(q.v[2].raw), q.v[3].raw);
    return vst1q_u8(dst, vqmovn_high_u16(vqmovn_u16(lower), upper));
  }
  if constexpr (std::is_same_v<T, uint8_t> && std::is_same_v<V, hn::Vec<hn::Simd<uint32_t, 4, 0>>>) {
    const uint16x8_t lower = vuzp1q_u16(vreinterpretq_u16_u32(q.v[0].raw), vreinterpretq_u16_u32(q.v[1].raw));
    const uint16x8_t upper = vuzp1q_u16(vreinterpretq_u16_u32(q.v[2].raw), vreinterpretq_u16_u32(q.v[3].raw));
    return vst1q_u8(dst, vuzp1q_u8(vreinterpretq_u8_u16(lower), vreinterpretq_u8_u16(upper)));
  }
  if constexpr (std::is_same_v<T, float> && std::is_same_v<hn::TFromD<D>, double>) {
    vst1q_f32(dst, vcvt_high_f32_f64(vcvt_f32_f64(q.v[0].raw), q.v[1].raw));
    return vst1q_f32(dst + 4, vcvt_high_f32_f64(vcvt_f32_f64(q.v[2].raw), q.v[3].raw));
  }
#endif
  const size_t lanes = hn::Lanes(d);
  if constexpr (kStream && std::is_same_v<T, hn::TFromD<D>> && std::is_same_v<V, hn::Vec<D>>) {
    for (size_t k = 0; k < 4; ++k) hn::Stream(q.v[k], d, dst + k * lanes);
  } else {
    for (size_t k = 0; k < 4; ++k) storeLanes(d, q.v[k], dst + k * lanes);
  }
}

// What an operation computes in: T; unless that is void, the elements' own type where all agree, else floats.
template <class T, class Out, class... In>
using Lane = std::conditional_t<!std::is_void_v<T>, T, std::conditional_t<(std::is_same_v<In, Out> && ...), Out, float>>;

// The elements of one row, combined by op(d, a...) on lanes of the sources.
template <class Out, class... In>
struct RowStep {
  Out* out;
  std::tuple<const In*...> in;

  template <class D, class Op>
  HWY_INLINE void one(D d, const Op& op, size_t i) const {
    std::apply([&](const auto*... src) HWY_ATTR { storeLanes(d, op(d, loadLanes(d, src + i)...), out + i); }, in);
  }

  // Four vectors, all loaded before the first is stored.
  template <bool kStream = false, class D, class Op>
  HWY_INLINE void four(D d, const Op& op, size_t i) const {
    std::apply([&](const auto*... src) HWY_ATTR { fourOf<kStream>(d, op, i, loadQuad(d, src + i)...); }, in);
  }

 private:
  template <bool kStream, class D, class Op, class... Q>
  HWY_INLINE void fourOf(D d, const Op& op, size_t i, const Q&... q) const {
    using V = decltype(op(d, q.v[0]...));
    if constexpr (requires { op.four(d, q...); }) return storeQuad<kStream>(d, op.four(d, q...), out + i);
    storeQuad<kStream>(d, Quad<V>{{op(d, q.v[0]...), op(d, q.v[1]...), op(d, q.v[2]...), op(d, q.v[3]...)}}, out + i);
  }
};

// walk(step, one_by_one) for every row; where one_by_one, its elements must be taken one at a time.
template <class Walk, class Out, class... In>
HWY_INLINE void forEachRow(Plane<Out> dst, int32_t height, size_t n, const Walk& walk, Plane<const In>... src) {
  if (n == 0) return;
  for (int32_t y = 0; y < height; ++y) {
    const RowStep<Out, In...> step{dst.row(y), {src.row(y)...}};
    walk(step, (writesAhead(step.out, src.row(y), n) || ...));
  }
}

// Elements before the first at the start of a cache line, so that vectors do not cross lines. None on Arm, which does not mind,
// and for short rows, which do not gain.
template <class D, class Out>
size_t elementsToLine(D d, const Out* out, size_t n) {
  const size_t bytes = bytesToLine(out);
  return HWY_ARCH_X86 && bytes % sizeof(Out) == 0 && n >= 64 * hn::Lanes(d) ? bytes / sizeof(Out) : 0;
}

// True when an output is to be written past the caches: it is large, and no source lies in it.
template <class Out, class... In>
bool isWorthStreaming(Plane<Out> dst, int32_t height, size_t n, Plane<const In>... src) {
  if (!isStreamed(rowElements(height) * n * sizeof(Out))) return false;
  const MemoryRange out = memoryOf(dst, height, n);
  return !(overlap(memoryOf(src, height, n), out) || ...);
}

// Groups of four vectors from element `start` on, up to `end`; the element where they stop. The step comes by value: its
// pointers stay in registers, whatever the stores may change.
template <class Step, class D, class Op>
HWY_INLINE size_t walkQuads(Step step, D d, const Op& op, size_t start, size_t end, bool stream) {
  const size_t quad = 4 * hn::Lanes(d);
  size_t i = start;
  if constexpr (HWY_ARCH_X86) {
    if (stream && bytesToLine(step.out + i) == 0) {
      for (; i + quad <= end; i += quad) step.template four<true>(d, op, i);
    }
  }
  for (; i + quad <= end; i += quad) step.four(d, op, i);
  return i;
}

// dst[i] = op(d, src[i]...), wherever i lies. An operation may also offer op.four(d, Quad...).
template <class T = void, class Op, class Out, class... In>
void combineRows(Plane<Out> dst, int32_t height, size_t n, const Op& op, Plane<const In>... src) {
  using L = Lane<T, Out, In...>;
  if (n == 0) return;  // empty rows may lie anywhere
  joinRows(height, n, dst, src...);
  const bool stream = isWorthStreaming(dst, height, n, src...);
  const auto walk = [&](const auto& step, bool one_by_one) HWY_ATTR {
    const hn::ScalableTag<L> wide;
    size_t i = 0;
    if (one_by_one) {
      for (; i < n; ++i) step.one(hn::CappedTag<L, 1>(), op, i);
    } else {
      i = elementsToLine(wide, step.out, n);
      walkRow<L>(i, [&](auto d, size_t k) HWY_ATTR { step.one(d, op, k); });
    }
    i = walkQuads(step, wide, op, i, n, stream);
    walkRow<L>(n - i, [&](auto d, size_t k) HWY_ATTR { step.one(d, op, i + k); });
  };
  forEachRow(dst, height, n, walk, src...);
  if (stream) finishStreaming();
}

// The same with an operation for a row's whole blocks of kBlock elements and one for its tail, in lanes of T.
template <class T, size_t kBlock, class BlockOp, class TailOp, class Out, class... In>
void combineBlocks(Plane<Out> dst, int32_t height, size_t n, const BlockOp& block_op, const TailOp& tail_op,
                   Plane<const In>... src) {
  const size_t blocks_end = n - n % kBlock;
  const bool stream = isWorthStreaming(dst, height, n, src...);
  const auto walk = [&](const auto& step, bool one_by_one) HWY_ATTR {
    const hn::ScalableTag<T> wide;
    const hn::CappedTag<T, 1> one;
    size_t i = 0;
    if (one_by_one) {
      for (; i < blocks_end; ++i) step.one(one, block_op, i);
    } else {
      i = elementsToLine(wide, step.out, blocks_end);
      walkRow<T>(i, [&](auto d, size_t k) HWY_ATTR { step.one(d, block_op, k); });
    }
    i = walkQuads(step, wide, block_op, i, blocks_end, stream);
    walkRow<T>(blocks_end - i, [&](auto d, size_t k) HWY_ATTR { step.one(d, block_op, i + k); });
    for (i = blocks_end; i < n; ++i) step.one(one, tail_op, i);
  };
  forEachRow(dst, height, n, walk, src...);
  if (stream) finishStreaming();
}

}  // namespace tamix

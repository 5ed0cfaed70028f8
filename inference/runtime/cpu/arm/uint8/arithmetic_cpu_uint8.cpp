#include "inference/runtime/cpu/arm/uint8/arithmetic_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/runtime/cpu/arm/common/float_nan.h"
#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// The planes of one call.
template <class In, class Out, class In2>
struct Operands {
  Plane<const In> src1;
  Plane<const In2> src2;
  Plane<Out> dst;
  int32_t height;
  size_t n;

  Operands(const In* src1_data, const In2* src2_data, Out* dst_data, int32_t rows, int32_t width, int32_t src1_width_stride,
           int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel)
      : src1(plane(src1_data, src1_width_stride, channel)),
        src2(plane(src2_data, src2_width_stride, channel)),
        dst(plane(dst_data, dst_width_stride, channel)),
        height(rows),
        n(rowElements(width, channel)) {}

  bool anyNull() const { return tamix::anyNull(src1.data, src2.data, dst.data); }
};

// The operation for results that stay floats: its NaNs are the same on every target.
template <class Op>
constexpr auto asArm(const Op& op) {
  return [op](auto d, auto a, auto b) { return withArmNaN(d, op(d, a, b), a, b); };
}

// Every element by op(d, a, b), whatever its place.
template <class In, class Out, class In2, class Op>
int32_t combine(LogPlace kernel, const Operands<In, Out, In2>& images, const Op& op) {
  if (images.height < 1) return TAMIX_OK;
  TAMIX_REQUIRE_AT(kernel, !images.anyNull(), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  combineRows(images.dst, images.height, images.n, op, images.src1, images.src2);
  return TAMIX_OK;
}

// By the refined reciprocal; bytes by bytes have no rare divisors.
template <bool kOfBytes>
struct RefinedQuotient {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    if constexpr (kOfBytes) return refinedQuotientOfBytes(d, a, b);
    return refinedQuotient(d, a, b);
  }

#if HWY_TARGET != HWY_NEON
  // Looks for rare divisors in all four together.
  template <class D, class V>
  HWY_INLINE Quad<V> four(D d, const Quad<V>& a, const Quad<V>& b) const requires(!kOfBytes) {
    if (HWY_UNLIKELY(hasRareDivisor(d, b.v[0], b.v[1], b.v[2], b.v[3]))) {
      return {{(*this)(d, a.v[0], b.v[0]), (*this)(d, a.v[1], b.v[1]), (*this)(d, a.v[2], b.v[2]), (*this)(d, a.v[3], b.v[3])}};
    }
    const auto common = [d](V x, V y) HWY_ATTR { return hn::Mul(x, refinedReciprocalOfCommon(d, y)); };
    return {{common(a.v[0], b.v[0]), common(a.v[1], b.v[1]), common(a.v[2], b.v[2]), common(a.v[3], b.v[3])}};
  }
#endif
};

// Quotients: by the refined reciprocal in a row's whole blocks of kBlock elements, exactly rounded in its tail.
template <size_t kBlock, class In, class Out, class In2>
int32_t divide(LogPlace kernel, const Operands<In, Out, In2>& images) {
  if (images.height < 1) return TAMIX_OK;
  TAMIX_REQUIRE_AT(kernel, !images.anyNull(), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  const RefinedQuotient<std::is_same_v<In, uint8_t> && std::is_same_v<In2, uint8_t>> in_block;
  const auto in_tail = asArm([](auto /*d*/, auto a, auto b) HWY_ATTR { return hn::Div(a, b); });
  combineBlocks<float, kBlock>(images.dst, images.height, images.n, in_block, in_tail, images.src1, images.src2);
  return TAMIX_OK;
}

// One operation on lanes each. Sums and products of bytes stay below 2^24: exact in floats.
constexpr auto kSaturatedAdd = [](auto /*d*/, auto a, auto b) { return hn::SaturatedAdd(a, b); };
constexpr auto kSaturatedSubtract = [](auto /*d*/, auto a, auto b) { return hn::SaturatedSub(a, b); };
constexpr auto kAdd = [](auto /*d*/, auto a, auto b) { return hn::Add(a, b); };
constexpr auto kSubtract = [](auto /*d*/, auto a, auto b) { return hn::Sub(a, b); };
constexpr auto kMultiply = [](auto /*d*/, auto a, auto b) { return hn::Mul(a, b); };

}  // namespace

// A kernel: `result` computed from the operands `images`.
#define TAMIX_ARITHMETIC(name, In, Out, result) TAMIX_MIXED_ARITHMETIC(name, In, In, Out, result)
#define TAMIX_MIXED_ARITHMETIC(name, In, In2, Out, result)                                                          \
  int32_t name(const In* src1, const In2* src2, Out* dst, int32_t height, int32_t width, int32_t src1_width_stride, \
               int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel, int32_t) {                     \
    const Operands<In, Out, In2> images(src1, src2, dst, height, width, src1_width_stride, src2_width_stride,       \
                                        dst_width_stride, channel);                                                 \
    return result;                                                                                                  \
  }

TAMIX_ARITHMETIC(addCPUUINT8, uint8_t, uint8_t, combine(TAMIX_HERE, images, kSaturatedAdd))
TAMIX_ARITHMETIC(subtractCPUUINT8, uint8_t, uint8_t, combine(TAMIX_HERE, images, kSaturatedSubtract))

TAMIX_ARITHMETIC(addCPUFLOAT32, float, float, combine(TAMIX_HERE, images, asArm(kAdd)))
TAMIX_ARITHMETIC(subtractCPUFLOAT32, float, float, combine(TAMIX_HERE, images, asArm(kSubtract)))
TAMIX_ARITHMETIC(multipleCPUFLOAT32, float, float, combine(TAMIX_HERE, images, asArm(kMultiply)))
TAMIX_ARITHMETIC(divideCPUFLOAT32, float, float, divide<8>(TAMIX_HERE, images))

TAMIX_ARITHMETIC(addCPUUINT8toFLOAT32, uint8_t, float, combine(TAMIX_HERE, images, kAdd))
TAMIX_ARITHMETIC(subtractCPUUINT8toFLOAT32, uint8_t, float, combine(TAMIX_HERE, images, kSubtract))
TAMIX_ARITHMETIC(multipleCPUUINT8toFLOAT32, uint8_t, float, combine(TAMIX_HERE, images, kMultiply))
TAMIX_ARITHMETIC(divideCPUUINT8toFLOAT32, uint8_t, float, divide<32>(TAMIX_HERE, images))

TAMIX_ARITHMETIC(addCPUFLOAT32toUINT8, float, uint8_t, combine(TAMIX_HERE, images, kAdd))
TAMIX_ARITHMETIC(subtractCPUFLOAT32toUINT8, float, uint8_t, combine(TAMIX_HERE, images, kSubtract))
TAMIX_ARITHMETIC(multipleCPUFLOAT32toUINT8, float, uint8_t, combine(TAMIX_HERE, images, kMultiply))
TAMIX_ARITHMETIC(divideCPUFLOAT32toUINT8, float, uint8_t, divide<8>(TAMIX_HERE, images))

TAMIX_MIXED_ARITHMETIC(addBytesAndFloats, uint8_t, float, float, combine(TAMIX_HERE, images, asArm(kAdd)))
TAMIX_MIXED_ARITHMETIC(subtractBytesAndFloats, uint8_t, float, float, combine(TAMIX_HERE, images, asArm(kSubtract)))
TAMIX_MIXED_ARITHMETIC(multiplyBytesAndFloats, uint8_t, float, float, combine(TAMIX_HERE, images, asArm(kMultiply)))
TAMIX_MIXED_ARITHMETIC(divideBytesAndFloats, uint8_t, float, float, divide<8>(TAMIX_HERE, images))

TAMIX_MIXED_ARITHMETIC(addFloatsAndBytes, float, uint8_t, float, combine(TAMIX_HERE, images, asArm(kAdd)))
TAMIX_MIXED_ARITHMETIC(subtractFloatsAndBytes, float, uint8_t, float, combine(TAMIX_HERE, images, asArm(kSubtract)))
TAMIX_MIXED_ARITHMETIC(multiplyFloatsAndBytes, float, uint8_t, float, combine(TAMIX_HERE, images, asArm(kMultiply)))
TAMIX_MIXED_ARITHMETIC(divideFloatsAndBytes, float, uint8_t, float, divide<8>(TAMIX_HERE, images))

#undef TAMIX_ARITHMETIC
#undef TAMIX_MIXED_ARITHMETIC

}  // namespace tamix

#include "inference/runtime/cpu/arm/uint8/bitwise_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/utils/tamix_log.h"

namespace tamix {
namespace {

// dst = op(src1, src2), or op(op(src1, src2), mask).
template <class Op>
int32_t combine(LogPlace kernel, Plane<const uint8_t> src1, Plane<const uint8_t> src2, Plane<uint8_t> dst, int32_t height,
                size_t n, const uint8_t* mask, const Op& op) {
  TAMIX_REQUIRE_AT(kernel, !anyNull(src1.data, src2.data, dst.data), TAMIX_ERR_INVALID_IMAGE, "Recieved null data pointer");
  if (mask == nullptr) {
    combineRows(
        dst, height, n, [&](auto /*d*/, auto a, auto b) HWY_ATTR { return op(a, b); }, src1, src2);
  } else {
    combineRows(
        dst, height, n, [&](auto /*d*/, auto a, auto b, auto m) HWY_ATTR { return op(op(a, b), m); }, src1, src2,
        Plane<const uint8_t>{mask, src2.pitch});
  }
  return TAMIX_OK;
}

}  // namespace

int32_t bitwiseAndCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                           int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                           const uint8_t* mask, int32_t /*num_threads*/) {
  return combine(TAMIX_HERE, plane(src1, src1_width_stride, channel), plane(src2, src2_width_stride, channel),
                 plane(dst, dst_width_stride, channel), height, rowElements(width, channel), mask,
                 [](auto a, auto b) HWY_ATTR { return hn::And(a, b); });
}

int32_t bitwiseOrCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                          int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                          const uint8_t* mask, int32_t /*num_threads*/) {
  return combine(TAMIX_HERE, plane(src1, src1_width_stride, channel), plane(src2, src2_width_stride, channel),
                 plane(dst, dst_width_stride, channel), height, rowElements(width, channel), mask,
                 [](auto a, auto b) HWY_ATTR { return hn::Or(a, b); });
}

int32_t bitwiseXorCPUUINT8(const uint8_t* src1, const uint8_t* src2, uint8_t* dst, int32_t height, int32_t width,
                           int32_t src1_width_stride, int32_t src2_width_stride, int32_t dst_width_stride, int32_t channel,
                           const uint8_t* mask, int32_t /*num_threads*/) {
  return combine(TAMIX_HERE, plane(src1, src1_width_stride, channel), plane(src2, src2_width_stride, channel),
                 plane(dst, dst_width_stride, channel), height, rowElements(width, channel), mask,
                 [](auto a, auto b) HWY_ATTR { return hn::Xor(a, b); });
}

}  // namespace tamix

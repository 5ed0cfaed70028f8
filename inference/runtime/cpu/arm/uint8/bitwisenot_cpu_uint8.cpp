#include "inference/runtime/cpu/arm/uint8/bitwisenot_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/combine_rows.h"
#include "inference/utils/tamix_log.h"

namespace tamix {

int32_t bitwiseNotCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                           int32_t dst_width_stride, int32_t channel, const uint8_t* mask, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const size_t n = rowElements(width, channel);
  const auto from = plane(src, src_width_stride, channel);
  const auto to = plane(dst, dst_width_stride, channel);
  if (mask == nullptr) {
    combineRows(
        to, height, n, [](auto /*d*/, auto a) HWY_ATTR { return hn::Not(a); }, from);
  } else {
    combineRows(
        to, height, n, [](auto /*d*/, auto a, auto m) HWY_ATTR { return hn::AndNot(a, m); }, from, plane(mask, width, channel));
  }
  return TAMIX_OK;
}

}  // namespace tamix

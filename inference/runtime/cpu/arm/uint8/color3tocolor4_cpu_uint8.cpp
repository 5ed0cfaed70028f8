#include "inference/runtime/cpu/arm/uint8/color3tocolor4_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {

int32_t color3ToColor4CPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                               int32_t dst_width_stride, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const auto from = plane(src, src_width_stride, 3);
  const auto to = plane(dst, dst_width_stride, 4);
  size_t n = rowElements(width);
  joinPixelRows(height, n, src_width_stride, dst_width_stride);
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* const in = from.row(y);
    uint8_t* const out = to.row(y);
    walkRow<uint8_t, 16>(
        n, [&](auto d, size_t x) { appendZeroChannel(d, in + 3 * x, out + 4 * x); },
        [&](size_t x) {
          for (size_t c = 0; c < 3; ++c) out[4 * x + c] = in[3 * x + c];
          out[4 * x + 3] = 0;
        });
  }
  return TAMIX_OK;
}

}  // namespace tamix

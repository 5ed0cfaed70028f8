#include "inference/runtime/cpu/arm/uint8/color4tocolor3_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

void convertPixel(const uint8_t* src, uint8_t* dst, int32_t src_red, int32_t dst_red) {
  const uint8_t red = src[src_red];
  const uint8_t green = src[1];
  const uint8_t blue = src[2 - src_red];
  dst[dst_red] = red;
  dst[1] = green;
  dst[2 - dst_red] = blue;
}

template <bool kSwapEnds>
void convertRow(const uint8_t* src, uint8_t* dst, size_t n) {
  walkRow<uint8_t, 16>(
      n, [&](auto d, size_t x) { dropFourthChannel<kSwapEnds>(d, src + 4 * x, dst + 3 * x); },
      [&](size_t x) { convertPixel(src + 4 * x, dst + 3 * x, 0, kSwapEnds ? 2 : 0); });
}

}  // namespace

int32_t color4ToColor3CPUUINT8(const uint8_t* src, uint8_t* dst, int32_t height, int32_t width, int32_t src_width_stride,
                               int32_t dst_width_stride, int32_t src_red_index, int32_t dst_red_index,
                               int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(src_red_index >= 0 && src_red_index <= 2, TAMIX_ERR_INVALID_IMAGE, "Recieved illegal red index %d",
                src_red_index);
  TAMIX_REQUIRE(dst_red_index >= 0 && dst_red_index <= 2, TAMIX_ERR_INVALID_IMAGE, "Recieved illegal red index %d",
                dst_red_index);
  const auto from = plane(src, src_width_stride, 4);
  const auto to = plane(dst, dst_width_stride, 3);
  size_t n = rowElements(width);
  joinPixelRows(height, n, src_width_stride, dst_width_stride);
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* const in = from.row(y);
    uint8_t* const out = to.row(y);
    if (src_red_index == 1 || dst_red_index == 1) {
      for (size_t x = 0; x < n; ++x) convertPixel(in + 4 * x, out + 3 * x, src_red_index, dst_red_index);
    } else if (src_red_index == dst_red_index) {
      convertRow<false>(in, out, n);
    } else {
      convertRow<true>(in, out, n);
    }
  }
  return TAMIX_OK;
}

}  // namespace tamix

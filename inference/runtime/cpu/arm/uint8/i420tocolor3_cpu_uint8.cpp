// I420 to RGB and BGR, limited-range BT.601 with 20 fractional bits at every pixel.
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/yuv_to_rgb.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

// 1.164, 1.596, 0.391, 0.813 and 2.018 (ITU-R BT.601), and the rounding half.
constexpr YUVWeights kWeights = {1220542, 1673527, -409993, -852492, 2116026, 1 << 19};

struct Chroma {
  const uint8_t* u;
  const uint8_t* v;
};

// kRows rows of one chroma row.
template <bool kRedFirst, int kRows>
HWY_FLATTEN void convertRows(Plane<const uint8_t> y, Chroma chroma, Plane<uint8_t> dst, size_t width) {
  walkRow<uint8_t, 16>(
      width,
      [&](auto d, size_t x) HWY_ATTR {
        const hn::Half<decltype(d)> half;
        const hn::RepartitionToWide<decltype(d)> wide;
        const ChromaTerms<kWeights, decltype(d)> terms(d, hn::PromoteTo(wide, hn::LoadU(half, chroma.u + x / 2)),
                                                       hn::PromoteTo(wide, hn::LoadU(half, chroma.v + x / 2)));
        const auto row = [&](int r) HWY_ATTR {
          const auto luma = hn::SaturatedSub(hn::LoadU(d, y.row(r) + x), hn::Set(d, 16));
          terms.template store<kRedFirst>(evenBytes(d, luma), oddBytes(d, luma), dst.row(r) + 3 * x);
        };
        row(0);
        if constexpr (kRows == 2) row(1);
      },
      [&](size_t x) {
        for (int r = 0; r < kRows; ++r) {
          const RGB rgb = toRGB<kWeights>(y.row(r)[x], chroma.u[x / 2], chroma.v[x / 2]);
          uint8_t* const pixel = dst.row(r) + 3 * x;
          pixel[0] = kRedFirst ? rgb.red : rgb.blue;
          pixel[1] = rgb.green;
          pixel[2] = kRedFirst ? rgb.blue : rgb.red;
        }
      });
}

template <bool kRedFirst>
int32_t convert(const uint8_t* src_y, const uint8_t* src_u, const uint8_t* src_v, uint8_t* dst, int32_t width, int32_t height,
                int32_t src_width_stride, int32_t dst_width_stride) {
  if (height < 1 || width < 2) return TAMIX_OK;
  const auto y = plane(src_y, src_width_stride);
  const auto u = plane(src_u, src_width_stride / 2);
  const auto v = plane(src_v, src_width_stride / 2);
  const auto out = plane(dst, dst_width_stride, 3);
  const size_t n = rowElements(width);
  const auto rowsFrom = [](auto from, int32_t r) { return decltype(from){from.row(r), from.pitch}; };
  int32_t r = 0;
  for (; r + 1 < height; r += 2) {
    convertRows<kRedFirst, 2>(rowsFrom(y, r), {u.row(r / 2), v.row(r / 2)}, rowsFrom(out, r), n);
  }
  if (r < height) convertRows<kRedFirst, 1>(rowsFrom(y, r), {u.row(r / 2), v.row(r / 2)}, rowsFrom(out, r), n);
  return TAMIX_OK;
}

}  // namespace
}  // namespace tamix

int32_t I420ToRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_u, const uint8_t* src_v, uint8_t* dst, int32_t width,
                          int32_t height, int32_t src_width_stride, int32_t dst_width_stride) {
  TAMIX_REQUIRE_DATA(src_y, src_u, src_v, dst);
  return tamix::convert<true>(src_y, src_u, src_v, dst, width, height, src_width_stride, dst_width_stride);
}

int32_t I420ToBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_u, const uint8_t* src_v, uint8_t* dst, int32_t width,
                          int32_t height, int32_t src_width_stride, int32_t dst_width_stride) {
  TAMIX_REQUIRE_DATA(src_y, src_u, src_v, dst);
  return tamix::convert<false>(src_y, src_u, src_v, dst, width, height, src_width_stride, dst_width_stride);
}

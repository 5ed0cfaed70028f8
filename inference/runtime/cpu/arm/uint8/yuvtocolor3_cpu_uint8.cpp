// NV12 and NV21 to RGB and BGR, limited-range BT.601: 5 fractional bits in 16-bit lanes inside blocks of 16 pixels, 11
// fractional bits in a row's tail and in the last row of an odd height.
#include <algorithm>

#include "inference/runtime/cpu/arm/common/byte_pairs.h"
#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

constexpr size_t kBlock = 16;

// Pixels x and on of two rows:
//   t = 16 + 37 * max(Y - 16, 0)
//   R = (t + 51 v) >> 5, G = (t - 13 u - 26 v) >> 5, B = (t + 65 u) >> 5, saturated; u = U - 128, v = V - 128.
// All sums lie in -8304..17114.
template <bool kRedFirst, bool kNV21, class D>
HWY_INLINE void convertBlock(D d, Plane<const uint8_t> y, const uint8_t* uv, Plane<uint8_t> dst, size_t x) {
  const hn::RebindToSigned<hn::RepartitionToWide<D>> d16;
  const auto times = [&](auto lanes, int16_t weight) HWY_ATTR { return hn::Mul(lanes, hn::Set(d16, weight)); };
  // Signed bytes: u0 v0 u1 v1 ... or v0 u0 v1 u1 ...
  const auto pairs = hn::BitCast(d16, hn::Xor(hn::LoadU(d, uv + x), hn::Set(d, 0x80)));
  const auto first = hn::ShiftRight<8>(hn::ShiftLeft<8>(pairs));
  const auto second = hn::ShiftRight<8>(pairs);
  const auto u = kNV21 ? second : first;
  const auto v = kNV21 ? first : second;
  const auto half = hn::Set(d16, 16);
  const auto red = hn::Add(times(v, 51), half);
  const auto green = hn::Sub(half, hn::Add(times(u, 13), times(v, 26)));
  const auto blue = hn::Add(times(u, 65), half);
  const auto row = [&](int r) HWY_ATTR {
    const auto luma = hn::SaturatedSub(hn::LoadU(d, y.row(r) + x), hn::Set(d, 16));
    const auto even = hn::BitCast(d16, evenBytesTimes(d, luma, 37));
    const auto odd = hn::BitCast(d16, oddBytesTimes(d, luma, 37));
    const auto channel = [&](auto term)
                             HWY_ATTR { return shiftRightNarrowPairs<5>(d, hn::Add(even, term), hn::Add(odd, term)); };
    const auto red8 = channel(red);
    const auto green8 = channel(green);
    const auto blue8 = channel(blue);
    storeInterleaved3<narrowedLane>(d, kRedFirst ? red8 : blue8, green8, kRedFirst ? blue8 : red8, dst.row(r) + 3 * x);
  };
  row(0);
  row(1);
}

// One pixel:
//   T = 2383 * max(Y - 16, 0) + 1024
//   R = clamp(T + 3268 v) >> 11, G = clamp(T - 800 u - 1665 v) >> 11, B = clamp(T + 4132 u) >> 11, clamped to 0..255 * 2048.
template <bool kRedFirst, bool kNV21>
void convertPixel(const uint8_t* y, const uint8_t* uv, uint8_t* dst, size_t x) {
  const uint8_t* const pair = uv + (x & ~size_t{1});
  const int32_t u = pair[kNV21 ? 1 : 0] - 128;
  const int32_t v = pair[kNV21 ? 0 : 1] - 128;
  const int32_t t = 2383 * std::max(y[x] - 16, 0) + 1024;
  const auto narrow = [](int32_t sum) { return static_cast<uint8_t>(std::clamp(sum, 0, 255 * 2048) >> 11); };
  uint8_t* const pixel = dst + 3 * x;
  pixel[kRedFirst ? 0 : 2] = narrow(t + 3268 * v);
  pixel[1] = narrow(t - 800 * u - 1665 * v);
  pixel[kRedFirst ? 2 : 0] = narrow(t + 4132 * u);
}

template <bool kRedFirst, bool kNV21>
void convert(Plane<const uint8_t> y, Plane<const uint8_t> uv, Plane<uint8_t> dst, int32_t height, size_t width) {
  int32_t r = 0;
  for (; r + 1 < height; r += 2) {
    const Plane<const uint8_t> y_rows = {y.row(r), y.pitch};
    const Plane<uint8_t> dst_rows = {dst.row(r), dst.pitch};
    const uint8_t* const pairs = uv.row(r / 2);
    walkRow<uint8_t, kBlock>(
        width, [&](auto d, size_t x) HWY_ATTR { convertBlock<kRedFirst, kNV21>(d, y_rows, pairs, dst_rows, x); },
        [&](size_t x) {
          convertPixel<kRedFirst, kNV21>(y_rows.row(0), pairs, dst_rows.row(0), x);
          convertPixel<kRedFirst, kNV21>(y_rows.row(1), pairs, dst_rows.row(1), x);
        });
  }
  if (r < height) {
    for (size_t x = 0; x < width; ++x) convertPixel<kRedFirst, kNV21>(y.row(r), uv.row(r / 2), dst.row(r), x);
  }
}

int32_t YUV420ToColor3(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                       int32_t src_width_stride, int32_t dst_width_stride, int32_t red_index, int32_t is_nv21) {
  TAMIX_REQUIRE_DATA(src_y, src_uv, dst);
  if (width < 1) return TAMIX_OK;  // however many rows
  const auto y = plane(src_y, src_width_stride);
  const auto uv = plane(src_uv, src_width_stride);
  const auto out = plane(dst, dst_width_stride, 3);
  const auto run = red_index == 0 ? (is_nv21 != 0 ? convert<true, true> : convert<true, false>)
                                  : (is_nv21 != 0 ? convert<false, true> : convert<false, false>);
  run(y, uv, out, height, rowElements(width));
  return TAMIX_OK;
}

}  // namespace
}  // namespace tamix

int32_t NV21ToRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::YUV420ToColor3(src_y, src_uv, dst, width, height, src_width_stride, dst_width_stride, 0, 1);
}

int32_t NV21ToBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::YUV420ToColor3(src_y, src_uv, dst, width, height, src_width_stride, dst_width_stride, 2, 1);
}

int32_t NV12ToRGBCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::YUV420ToColor3(src_y, src_uv, dst, width, height, src_width_stride, dst_width_stride, 0, 0);
}

int32_t NV12ToBGRCPUUINT8(const uint8_t* src_y, const uint8_t* src_uv, uint8_t* dst, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::YUV420ToColor3(src_y, src_uv, dst, width, height, src_width_stride, dst_width_stride, 2, 0);
}

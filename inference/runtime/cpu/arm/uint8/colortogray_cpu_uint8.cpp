// gray = (9617 G + 4899 R + 1868 B + 8192) >> 14: the luma weights of ITU-R BT.601 in 14 bits, which add up to one.
#include "inference/runtime/cpu/arm/uint8/colortogray_cpu_uint8.h"

#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/pixel_sums.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

// The weights' multiples of 128 are summed in 16 bits; the rest, floor((17 G + 35 R + 76 B) / 128), is a chain of averages,
// each rounded down: one channel for every bit, from 2^0 (G and R) to 2^6 (B).
template <class D, class V = hn::Vec<D>>
HWY_INLINE V grayOf(D d, V r, V g, V b) {
  const V rest_1 = averageFloor(d, r, averageFloor(d, g, r));
  const V rest_4 = averageFloor(d, g, averageFloor(d, b, averageFloor(d, b, rest_1)));
  const V rest = averageFloor(d, b, averageFloor(d, r, rest_4));
  const auto sum = weightedSum<38, 75, 14>(d, r, g, b, rest);
  return roundShiftRightNarrowToUint8<7>(d, sum.lower, sum.upper);
}

// Lanes(d) pixels.
template <int32_t kChannels, int32_t kRed, class D>
HWY_INLINE hn::Vec<D> grayOf(D d, const uint8_t* pixels) {
  if constexpr (kHasPixelSums<D> && kRed != 1) {
    return sumPixels < kRed == 0 ? PixelWeights{4899, 9617, 1868} : PixelWeights{1868, 9617, 4899}, kChannels > (d, pixels);
  } else {
    hn::Vec<D> c[4];
    if constexpr (kChannels == 3) {
      loadInterleaved3(d, pixels, c[0], c[1], c[2]);
    } else {
      loadInterleaved4(d, pixels, c[0], c[1], c[2], c[3]);
    }
    return grayOf(d, c[kRed], c[1], c[2 - kRed]);
  }
}

template <int32_t kChannels, int32_t kRed>
void convertRow(const uint8_t* src, uint8_t* dst, size_t width) {
  walkRow<uint8_t, 16>(
      width, [&](auto d, size_t x) { hn::StoreU(grayOf<kChannels, kRed>(d, src + kChannels * x), d, dst + x); },
      [&](size_t x) {
        const uint8_t* const pixel = src + kChannels * x;
        dst[x] = static_cast<uint8_t>((9617 * pixel[1] + 4899 * pixel[kRed] + 1868 * pixel[2 - kRed] + 8192) >> 14);
      });
}

template <int32_t kChannels>
int32_t convert(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                int32_t dst_width_stride, int32_t red_index) {
  const auto colours = plane(src, src_width_stride, kChannels);
  const auto gray = plane(dst, dst_width_stride);
  auto* const row = red_index == 0   ? convertRow<kChannels, 0>
                    : red_index == 1 ? convertRow<kChannels, 1>
                                     : convertRow<kChannels, 2>;
  size_t n = rowElements(width);
  joinPixelRows(height, n, src_width_stride, dst_width_stride);
  for (int32_t y = 0; y < height; ++y) row(colours.row(y), gray.row(y), n);
  return TAMIX_OK;
}

}  // namespace

int32_t color3ToGRAYCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                             int32_t dst_width_stride, int32_t red_index, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(red_index >= 0 && red_index <= 2, TAMIX_ERR_INVALID_IMAGE, "Recieved illegal red index %d", red_index);
  return convert<3>(src, dst, width, height, src_width_stride, dst_width_stride, red_index);
}

int32_t color4ToGRAYCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                             int32_t dst_width_stride, int32_t red_index, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(red_index >= 0 && red_index <= 2, TAMIX_ERR_INVALID_IMAGE, "Recieved illegal red index %d", red_index);
  return convert<4>(src, dst, width, height, src_width_stride, dst_width_stride, red_index);
}

}  // namespace tamix

// RGB and BGR to NV12 and NV21 with the full-range (JPEG) coefficients of ITU-R BT.601. Blocks of 16 pixels use 11-bit fixed
// point, the rest of a row double precision. The chroma of a 2x2 block is that of its top-left pixel.
#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/kernels.h"

namespace tamix {
namespace {

// Y = (612 R + 1202 G + 233 B) >> 11, at most 254. The weights' multiples of 16 are summed in 16 bits; the rest,
// floor((4 R + 2 G + 9 B) / 16), is a chain of averages, each rounded down.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V blockLuma(D d, V r, V g, V b) {
  const hn::RebindToSigned<hn::RepartitionToWide<D>> di16;
  const V rest = averageFloor(d, b, averageFloor(d, r, averageFloor(d, g, hn::ShiftRight<1>(b))));
  const auto sum = weightedSum<38, 75, 14>(d, r, g, b, rest);
  return shiftRightNarrowToUint8<7>(d, hn::BitCast(di16, sum.lower), hn::BitCast(di16, sum.upper));
}

// Weights of multiplyShift15: 16 times the 11-bit coefficients.
constexpr int16_t kUWeight = 16 * 1155;
constexpr int16_t kVWeight = 16 * 1460;

// U = (262144 + 1155 (B - Y)) >> 11 and V = (262144 + 1460 (R - Y)) >> 11 of the even pixels, one as the first and the other
// as the second byte of a pair. Both lie within 1..255 for every colour: there is nothing to clamp.
template <int16_t kFirstWeight, int16_t kSecondWeight, class D, class V = hn::Vec<D>>
HWY_INLINE V blockChroma(D d, V y, V first, V second) {
  const hn::RepartitionToWide<D> d16;
  const hn::RebindToSigned<decltype(d16)> di16;
  const auto even = [&](V v) { return hn::BitCast(di16, hn::And(v, hn::BitCast(d, hn::Set(d16, 0x00FF)))); };
  const auto even_y = even(y);
  const auto first_chroma = multiplyShift15<kFirstWeight>(di16, hn::Sub(even(first), even_y));
  const auto second_chroma = multiplyShift15<kSecondWeight>(di16, hn::Sub(even(second), even_y));
  const V pairs = hn::OddEven(hn::BitCast(d, hn::ShiftLeft<8>(second_chroma)), hn::BitCast(d, first_chroma));
  return hn::Xor(pairs, hn::Set(d, 0x80));  // adds 128 to signed bytes
}

uint8_t clampToUint8(int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

// One row, and its chroma row unless that is null.
template <int32_t kRed, bool kIsNV21>
void convertRow(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, size_t width) {
  walkRow<uint8_t, 16>(
      width,
      [&](auto d, size_t x) {
        hn::Vec<decltype(d)> c0, g, c2;
        loadInterleaved3(d, src + 3 * x, c0, g, c2);
        const auto r = kRed == 0 ? c0 : c2;
        const auto b = kRed == 0 ? c2 : c0;
        const auto y = blockLuma(d, r, g, b);
        hn::StoreU(y, d, dst_y + x);
        if (dst_uv == nullptr) return;
        const auto uv = kIsNV21 ? blockChroma<kVWeight, kUWeight>(d, y, r, b) : blockChroma<kUWeight, kVWeight>(d, y, b, r);
        hn::StoreU(uv, d, dst_uv + x);
      },
      [&](size_t x) {
        const int32_t r = src[3 * x + kRed];
        const int32_t g = src[3 * x + 1];
        const int32_t b = src[3 * x + 2 - kRed];
        const auto y = static_cast<int32_t>((r * 0.299 + g * 0.587) + b * 0.114);
        dst_y[x] = clampToUint8(y);
        if (dst_uv == nullptr || x % 2 != 0) return;
        const uint8_t u = clampToUint8(static_cast<int32_t>((b - y) / 1.772 + 128.0));
        const uint8_t v = clampToUint8(static_cast<int32_t>((r - y) / 1.402 + 128.0));
        dst_uv[x] = kIsNV21 ? v : u;
        dst_uv[x + 1] = kIsNV21 ? u : v;
      });
}

// src_width_stride counts pixels, dst_width_stride the bytes between rows of both destination planes.
template <int32_t kRed, bool kIsNV21>
int32_t Color3ToYUV(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                    int32_t src_width_stride, int32_t dst_width_stride) {
  TAMIX_REQUIRE_DATA(src, dst_y, dst_uv);
  if (width < 1) return TAMIX_OK;  // however many rows
  const auto colours = plane(src, src_width_stride, 3);
  const auto luma = plane(dst_y, dst_width_stride);
  const auto chroma = plane(dst_uv, dst_width_stride);
  const size_t n = rowElements(width);
  for (int32_t k = 0; k < height / 2; ++k) {
    const ptrdiff_t y = 2 * ptrdiff_t{k};
    convertRow<kRed, kIsNV21>(colours.row(y), luma.row(y), chroma.row(k), n);
    convertRow<kRed, kIsNV21>(colours.row(y + 1), luma.row(y + 1), nullptr, n);
  }
  return TAMIX_OK;
}

}  // namespace
}  // namespace tamix

int32_t RGBToNV12CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::Color3ToYUV<0, false>(src, dst_y, dst_uv, width, height, src_width_stride, dst_width_stride);
}

int32_t BGRToNV12CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::Color3ToYUV<2, false>(src, dst_y, dst_uv, width, height, src_width_stride, dst_width_stride);
}

int32_t RGBToNV21CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::Color3ToYUV<0, true>(src, dst_y, dst_uv, width, height, src_width_stride, dst_width_stride);
}

int32_t BGRToNV21CPUUINT8(const uint8_t* src, uint8_t* dst_y, uint8_t* dst_uv, int32_t width, int32_t height,
                          int32_t src_width_stride, int32_t dst_width_stride) {
  return tamix::Color3ToYUV<2, true>(src, dst_y, dst_uv, width, height, src_width_stride, dst_width_stride);
}

// y, fy = lightness[L]; x = curve(fy + ((268435 a + 128) >> 13) - 4194), z = curve(fy - ((41943 b + 16) >> 9) + 10484) with
// curve = inverseLabCurve; every channel is inverse_gamma[(row of kFromXYZ . (x, y, z) + 8192) >> 14, clamped to 0..4095].
#include "inference/runtime/cpu/arm/uint8/labtocolor_cpu_uint8.h"

#include <algorithm>
#include <cmath>

#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/lab_tables.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

// Pixels computed at a time: their planes stay in the nearest cache. A multiple of every vector's lanes.
constexpr size_t kStrip = 256;

// A strip: the lightness entry, a and b of its pixels, then their linear light in 12 bits.
struct Strip {
  alignas(64) uint32_t lightness[kStrip];
  alignas(64) uint8_t a[kStrip];
  alignas(64) uint8_t b[kStrip];
  alignas(64) uint16_t light[3][kStrip];
};

// inverseLabCurve of 32-bit lanes.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V curve(D di32, V v) {
  const hn::RebindToFloat<D> df;
  // 108 v / 841 truncated: a product's two roundings are less than this raise of the factor, and the raise is less than what
  // keeps a quotient of up to 1047 from the next integer, 1 / 841.
  constexpr float kRaisedSlope = 108.0f / 841.0f * 1.0000005f;
  const V line = hn::Sub(truncateInRange(df, hn::Mul(hn::ConvertTo(df, v), hn::Set(df, kRaisedSlope))), hn::Set(di32, 290));
  const V cube = hn::ShiftRight<14>(hn::Mul(hn::ShiftRight<14>(hn::Mul(v, v)), v));
  return hn::IfThenElse(hn::Gt(v, hn::Set(di32, 3390)), cube, line);
}

void loadStrip(const uint8_t* src, size_t n, const LabTables& tables, Strip& strip) {
  for (size_t i = 0; i < n; ++i) {
    strip.lightness[i] = tables.lightness[src[3 * i]];
    strip.a[i] = src[3 * i + 1];
    strip.b[i] = src[3 * i + 2];
  }
}

// Lanes(di32) pixels from i on.
template <class D>
HWY_INLINE void lightOf(D di32, size_t i, Strip& strip) {
  const hn::RebindToUnsigned<D> d32;
  const hn::Rebind<uint8_t, D> d8;
  const hn::Rebind<uint16_t, D> d16;
  const auto lightness = hn::BitCast(di32, hn::LoadU(d32, strip.lightness + i));
  const auto set = [&](int32_t value) { return hn::Set(di32, value); };
  const auto y = hn::And(lightness, set(0xFFFF));
  const auto fy = hn::ShiftRight<16>(lightness);
  const auto a = hn::PromoteTo(di32, hn::LoadU(d8, strip.a + i));
  const auto b = hn::PromoteTo(di32, hn::LoadU(d8, strip.b + i));
  const auto a_part = hn::ShiftRight<13>(hn::Add(hn::Mul(a, set(268435)), set(128)));
  const auto b_part = hn::ShiftRight<9>(hn::Add(hn::Mul(b, set(41943)), set(16)));
  const auto x = curve(di32, hn::Add(fy, hn::Sub(a_part, set(4194))));
  const auto z = curve(di32, hn::Sub(fy, hn::Sub(b_part, set(10484))));
  for (size_t k = 0; k < 3; ++k) {
    const auto [from_x, from_y, from_z] = kFromXYZ[k];
    const auto sum = hn::Add(hn::Add(hn::Mul(x, set(from_x)), hn::Mul(y, set(from_y))), hn::Mul(z, set(from_z)));
    const auto light = hn::ShiftRight<14>(hn::Add(sum, set(8192)));
    hn::StoreU(hn::DemoteTo(d16, hn::Min(hn::Max(light, set(0)), set(4095))), d16, strip.light[k] + i);
  }
}

template <size_t kChannels>
void convertRow(const uint8_t* src, uint8_t* dst, size_t width, const LabTables& tables, Strip& strip) {
  const hn::ScalableTag<int32_t> di32;
  for (size_t x = 0; x < width; x += kStrip) {
    const size_t n = std::min(kStrip, width - x);
    loadStrip(src + 3 * x, n, tables, strip);
    for (size_t i = 0; i < n; i += hn::Lanes(di32)) lightOf(di32, i, strip);
    for (size_t i = 0; i < n; ++i) {
      uint8_t* const pixel = dst + kChannels * (x + i);
      for (size_t k = 0; k < 3; ++k) pixel[k] = static_cast<uint8_t>(tables.inverse_gamma[strip.light[k][i]]);
      if constexpr (kChannels == 4) pixel[3] = 255;
    }
  }
}

}  // namespace

int32_t LABToRGBCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                         int32_t dst_width_stride, int32_t dst_channels, int32_t /*num_threads*/) {
  TAMIX_REQUIRE_DATA(src, dst);
  const size_t n = rowElements(width);
  if (n == 0) return TAMIX_OK;  // however many rows
  const LabTables& tables = labTables();
  const auto lab = plane(src, src_width_stride, 3);
  const auto rgb = plane(dst, dst_width_stride, dst_channels == 4 ? 4 : 3);
  auto* const row = dst_channels == 4 ? convertRow<4> : convertRow<3>;
  Strip strip = {};
  for (int32_t y = 0; y < height; ++y) row(lab.row(y), rgb.row(y), n, tables, strip);
  return TAMIX_OK;
}

}  // namespace tamix

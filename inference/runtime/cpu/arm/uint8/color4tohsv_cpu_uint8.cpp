// V = max(R, G, B), diff = V - min(R, G, B), S = (diff * saturation[V] + 2048) >> 12, H = (h * hue[diff] + 2048) >> 12, plus
// 180 where negative. h = G - B where V = R, else B - R + 2 diff where V = G, else R - G + 4 diff.
#include "inference/runtime/cpu/arm/uint8/color4tohsv_cpu_uint8.h"

#include <algorithm>

#include "inference/runtime/cpu/arm/common/fixed_point.h"
#include "inference/runtime/cpu/arm/common/float_to_int.h"
#include "inference/runtime/cpu/arm/common/interleave.h"
#include "inference/runtime/cpu/arm/common/reciprocal.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"
#include "tamix/tamix.h"

namespace tamix {
namespace {

constexpr int32_t kSaturationScale = 255 << 12;
constexpr int32_t kHueScale = (180 << 12) / 6;

void buildTable(int32_t* table, int32_t numerator) {
  table[0] = 0;
  for (int32_t i = 1; i < 256; ++i) table[i] = numerator / i;
}

// Numerators, raised a little: with closeReciprocal's error (3.2e-7) and one rounding a quotient is too large by 6e-8 to
// 9.2e-7 of itself. A true quotient lies at least 1 / i, that is 1 / kSaturationScale of itself, below the next integer:
// truncation gives the table's entry for every i from 1 to 255.
constexpr float kRaisedSaturationScale = kSaturationScale + 0.5625f;
constexpr float kRaisedHueScale = kHueScale + 0.0625f;

// (factor * trunc(scale / divisor) + 2048) >> 12 of 32-bit lanes; a factor of 0 gives 0 whatever the divisor is.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V scaledQuotient(D di32, V factor, V divisor, float raised_scale) {
  const hn::RebindToFloat<D> df;
  const auto quotient = hn::Mul(closeReciprocal(df, hn::ConvertTo(df, divisor)), hn::Set(df, raised_scale));
  const auto scaled = hn::Mul(factor, truncateInRange(df, quotient));
  return hn::ShiftRight<12>(hn::Add(scaled, hn::Set(di32, 2048)));
}

// The same of signed 16-bit factors and unsigned 16-bit divisors.
template <class D, class V = hn::Vec<D>, class V16>
HWY_INLINE V scaledQuotients(D di16, V factor, V16 divisor, float raised_scale) {
  const hn::RebindToUnsigned<D> d16;
  const hn::RepartitionToWide<D> di32;
  const auto sign = hn::BroadcastSignBit(factor);
  const auto lower = hn::BitCast(di32, hn::InterleaveLower(di16, factor, sign));
  const auto upper = hn::BitCast(di32, hn::InterleaveUpper(di16, factor, sign));
  return narrowToInt16(di16, scaledQuotient(di32, lower, hn::BitCast(di32, widenLower(d16, divisor)), raised_scale),
                       scaledQuotient(di32, upper, hn::BitCast(di32, widenUpper(d16, divisor)), raised_scale));
}

// Lanes(d) pixels.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void convertBlock(D d, V r, V g, V b, V& h, V& s, V& v) {
  const hn::RepartitionToWide<D> d16;
  const hn::RebindToSigned<decltype(d16)> di16;
  v = hn::Max(r, hn::Max(g, b));
  const V diff = hn::Sub(v, hn::Min(r, hn::Min(g, b)));
  const auto is_r = hn::Eq(v, r);
  const auto is_g = hn::Eq(v, g);
  // h = minuend - subtrahend + sector * diff
  const V minuend = hn::IfThenElse(is_r, g, hn::IfThenElse(is_g, b, r));
  const V subtrahend = hn::IfThenElse(is_r, b, hn::IfThenElse(is_g, r, g));
  const V sector = hn::IfThenZeroElse(is_r, hn::IfThenElse(is_g, hn::Set(d, 2), hn::Set(d, 4)));

  const auto half = [&](auto minuend16, auto subtrahend16, auto sector16, auto diff16, auto v16, auto& h16, auto& s16) {
    const auto turned = hn::Add(hn::Sub(minuend16, subtrahend16), hn::Mul(sector16, diff16));
    const auto hue = scaledQuotients(di16, hn::BitCast(di16, turned), diff16, kRaisedHueScale);
    h16 = hn::Add(hue, hn::And(hn::BroadcastSignBit(hue), hn::Set(di16, 180)));
    s16 = scaledQuotients(di16, hn::BitCast(di16, diff16), v16, kRaisedSaturationScale);
  };
  hn::Vec<decltype(di16)> h_lower, h_upper, s_lower, s_upper;
  half(widenLower(d, minuend), widenLower(d, subtrahend), widenLower(d, sector), widenLower(d, diff), widenLower(d, v), h_lower,
       s_lower);
  half(widenUpper(d, minuend), widenUpper(d, subtrahend), widenUpper(d, sector), widenUpper(d, diff), widenUpper(d, v), h_upper,
       s_upper);
  h = narrowToUint8(d, h_lower, h_upper);
  s = narrowToUint8(d, s_lower, s_upper);
}

void convertPixel(int32_t r, int32_t g, int32_t b, const int32_t* saturation, const int32_t* hue, uint8_t* dst) {
  const int32_t v = std::max({r, g, b});
  const int32_t diff = v - std::min({r, g, b});
  const int32_t turned = v == r ? g - b : v == g ? b - r + 2 * diff : r - g + 4 * diff;
  const int32_t h = (turned * hue[diff] + 2048) >> 12;
  dst[0] = static_cast<uint8_t>(h < 0 ? h + 180 : h);
  dst[1] = static_cast<uint8_t>((diff * saturation[v] + 2048) >> 12);
  dst[2] = static_cast<uint8_t>(v);
}

template <int32_t kBlue>
int32_t Color4ToHSVUINT8Neon(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                             int32_t dst_width_stride, const int32_t* saturation, const int32_t* hue) {
  TAMIX_REQUIRE_DATA(src, dst);
  TAMIX_REQUIRE(src_width_stride == width && dst_width_stride == width, TAMIX_ERR_UNSUPPORTED,
                "width stride is not supported.");
  HSVTable own_saturation;
  HSVTable own_hue;
  if (saturation == nullptr || hue == nullptr) {
    buildSaturationTable(own_saturation.data());
    buildHueTable(own_hue.data());
    saturation = own_saturation.data();
    hue = own_hue.data();
  }
  walkRow<uint8_t, 16>(
      rowElements(width) * rowElements(height),
      [&](auto d, size_t i) {
        hn::Vec<decltype(d)> c[4], h, s, v;
        loadInterleaved4(d, src + 4 * i, c[0], c[1], c[2], c[3]);
        convertBlock(d, c[2 - kBlue], c[1], c[kBlue], h, s, v);
        storeInterleaved3(d, h, s, v, dst + 3 * i);
      },
      [&](size_t i) {
        const uint8_t* const pixel = src + 4 * i;
        convertPixel(pixel[2 - kBlue], pixel[1], pixel[kBlue], saturation, hue, dst + 3 * i);
      });
  return TAMIX_OK;
}

}  // namespace

void buildSaturationTable(int32_t* table) { buildTable(table, kSaturationScale); }

void buildHueTable(int32_t* table) { buildTable(table, kHueScale); }

int32_t RGBAToHSVCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                          int32_t dst_width_stride, const int32_t* saturation, const int32_t* hue, int32_t /*num_threads*/) {
  return Color4ToHSVUINT8Neon<2>(src, dst, width, height, src_width_stride, dst_width_stride, saturation, hue);
}

int32_t BGRAToHSVCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t src_width_stride,
                          int32_t dst_width_stride, const int32_t* saturation, const int32_t* hue, int32_t /*num_threads*/) {
  return Color4ToHSVUINT8Neon<0>(src, dst, width, height, src_width_stride, dst_width_stride, saturation, hue);
}

}  // namespace tamix

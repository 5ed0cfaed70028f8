#include "inference/runtime/cpu/arm/uint8/threshold_cpu_uint8.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "inference/runtime/cpu/arm/common/byte_histogram.h"
#include "inference/runtime/cpu/arm/common/rows.h"
#include "inference/runtime/cpu/arm/common/simd.h"
#include "inference/utils/tamix_log.h"

HWY_BEFORE_NAMESPACE();
namespace tamix {
namespace {

constexpr int32_t kRules = TAMIX_THRESH_TOZERO_INV + 1;

// The level that best separates two classes (N. Otsu, 1979): the largest variance between them, of equals the lowest level.
double otsuLevel(const ByteCounts& h) {
  constexpr double kLeastShare = 0x1p-23;
  uint64_t count = 0;
  uint64_t weighted = 0;
  for (size_t i = 0; i < h.size(); ++i) {
    count += h[i];
    weighted += i * h[i];
  }
  if (count == 0) return 0.0;
  const double scale = 1.0 / static_cast<double>(count);
  const double mu = scale * static_cast<double>(weighted);
  double mu1 = 0.0;
  double q1 = 0.0;
  double best = 0.0;
  double level = 0.0;
  for (size_t i = 0; i < h.size(); ++i) {
    const double p = static_cast<double>(h[i]) * scale;
    mu1 *= q1;
    q1 += p;
    const double q2 = 1.0 - q1;
    if (std::min(q1, q2) < kLeastShare || std::max(q1, q2) > 1.0 - kLeastShare) continue;
    mu1 = (mu1 + static_cast<double>(i) * p) / q1;
    const double mu2 = (mu - q1 * mu1) / q2;
    const double sigma = q1 * q2 * ((mu1 - mu2) * (mu1 - mu2));
    if (sigma > best) {
      best = sigma;
      level = static_cast<double>(i);
    }
  }
  return level;
}

// The level farthest from the line between the peak and the end of the longer slope (G. Zack et al., 1977).
double triangleLevel(const ByteCounts& counts) {
  ByteCounts h = counts;
  int32_t left = 0;
  while (left < 255 && h[static_cast<size_t>(left)] == 0) ++left;
  if (h[static_cast<size_t>(left)] == 0) left = 0;
  if (left > 0) --left;
  int32_t right = 255;
  while (right > 0 && h[static_cast<size_t>(right)] == 0) --right;
  if (right < 255) ++right;
  auto peak = static_cast<int32_t>(std::max_element(h.begin(), h.end()) - h.begin());

  const bool flipped = peak - left < right - peak;
  if (flipped) {
    std::reverse(h.begin(), h.end());
    left = 255 - right;
    peak = 255 - peak;
  }
  const auto a = static_cast<double>(h[static_cast<size_t>(peak)]);
  const double b = left - peak;
  double best = 0.0;
  int32_t level = left;
  for (int32_t i = left + 1; i <= peak; ++i) {
    const double distance = a * i + b * static_cast<double>(h[static_cast<size_t>(i)]);
    if (distance > best) {
      best = distance;
      level = i;
    }
  }
  --level;
  return flipped ? 255 - level : level;
}

// The caller's threshold, after one of the automatic methods has replaced it.
double getThreshValCPUUINT8_(Plane<const uint8_t> src, int32_t height, size_t n, double* thresh, int32_t source) {
  if (source == TAMIX_THRESH_OTSU) *thresh = otsuLevel(countBytes(src, height, n));
  if (source == TAMIX_THRESH_TRIANGLE) *thresh = triangleLevel(countBytes(src, height, n));
  return *thresh;
}

// Whole doubles to integers, saturated; NaN gives 0.
int32_t saturate(double whole, int32_t low, int32_t high) {
  if (std::isnan(whole)) return 0;
  return static_cast<int32_t>(std::clamp<double>(whole, low, high));
}

// One rule as f(d, v) over vectors of bytes, and over a single byte.
template <int32_t kRule, class D, class V = hn::Vec<D>>
HWY_INLINE V applied(D /*d*/, V v, V t, V m) {
  if constexpr (kRule == TAMIX_THRESH_BINARY) return hn::IfThenElseZero(hn::Gt(v, t), m);
  if constexpr (kRule == TAMIX_THRESH_BINARY_INV) return hn::IfThenZeroElse(hn::Gt(v, t), m);
  if constexpr (kRule == TAMIX_THRESH_TRUNC) return hn::Min(v, t);
  if constexpr (kRule == TAMIX_THRESH_TOZERO) return hn::IfThenElseZero(hn::Gt(v, t), v);
  if constexpr (kRule == TAMIX_THRESH_TOZERO_INV) return hn::IfThenZeroElse(hn::Gt(v, t), v);
}

template <int32_t kRule>
void thresholdRows(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, size_t n, uint8_t t, uint8_t m) {
  const hn::ScalableTag<uint8_t> wide;
  const size_t lanes = hn::Lanes(wide);
  for (int32_t y = 0; y < height; ++y) {
    const uint8_t* const in = src.row(y);
    uint8_t* const out = dst.row(y);
    const auto apply = [&](auto d, size_t i) { return applied<kRule>(d, hn::LoadU(d, in + i), hn::Set(d, t), hn::Set(d, m)); };
    size_t i = 0;
    for (; i + 4 * lanes <= n; i += 4 * lanes) {
      const auto v0 = apply(wide, i);
      const auto v1 = apply(wide, i + lanes);
      const auto v2 = apply(wide, i + 2 * lanes);
      const auto v3 = apply(wide, i + 3 * lanes);
      hn::StoreU(v0, wide, out + i);
      hn::StoreU(v1, wide, out + i + lanes);
      hn::StoreU(v2, wide, out + i + 2 * lanes);
      hn::StoreU(v3, wide, out + i + 3 * lanes);
    }
    walkRow<uint8_t>(n - i, [&](auto d, size_t k) { hn::StoreU(apply(d, i + k), d, out + i + k); });
  }
}

void fillRows(Plane<uint8_t> dst, int32_t height, size_t n, int32_t value) {
  for (int32_t y = 0; y < height; ++y) std::memset(dst.row(y), value, n);
}

// A threshold that all bytes are above (t < 0) or none is (t >= 255): no comparison.
void thresholdAllAlike(Plane<const uint8_t> src, Plane<uint8_t> dst, int32_t height, size_t n, int32_t rule, bool above,
                       int32_t m) {
  switch (rule) {
    case TAMIX_THRESH_BINARY:
      return fillRows(dst, height, n, above ? m : 0);
    case TAMIX_THRESH_BINARY_INV:
      return fillRows(dst, height, n, above ? 0 : m);
    case TAMIX_THRESH_TOZERO:
      return above ? copyRows(src, dst, height, n) : fillRows(dst, height, n, 0);
    default:  // truncating to a negative level gives 0
      return above ? fillRows(dst, height, n, 0) : copyRows(src, dst, height, n);
  }
}

}  // namespace

int32_t thresholdCPUUINT8(const uint8_t* src, uint8_t* dst, int32_t width, int32_t height, int32_t channel,
                          int32_t src_width_stride, int32_t dst_width_stride, double* thresh, int32_t thresh_type,
                          int32_t /*num_threads*/, double maxval) {
  TAMIX_REQUIRE(!anyNull(src, dst, thresh), TAMIX_ERR_UNSUPPORTED, "thresholdCPUUINT8 illegal input data");
  const int32_t rule = thresh_type & 7;
  TAMIX_REQUIRE(rule < kRules, TAMIX_ERR_UNSUPPORTED, "Recieve unsupported threshold type: %d", thresh_type);

  const auto from = plane(src, src_width_stride, channel);
  const auto to = plane(dst, dst_width_stride, channel);
  size_t n = rowElements(width, channel);
  if (n == 0) height = 0;  // empty rows may lie anywhere
  const double level = getThreshValCPUUINT8_(from, height, n, thresh, thresh_type & ~7);
  joinRows(height, n, from, to);

  const int32_t t = saturate(std::floor(level), -1, 255);
  const int32_t m = saturate(std::round(maxval), 0, 255);
  if (t < 0 || t >= 255) {
    thresholdAllAlike(from, to, height, n, rule, t < 0, m);
    return TAMIX_OK;
  }
  constexpr decltype(&thresholdRows<0>) kByRule[kRules] = {
      thresholdRows<TAMIX_THRESH_BINARY>, thresholdRows<TAMIX_THRESH_BINARY_INV>, thresholdRows<TAMIX_THRESH_TRUNC>,
      thresholdRows<TAMIX_THRESH_TOZERO>, thresholdRows<TAMIX_THRESH_TOZERO_INV>};
  kByRule[rule](from, to, height, n, static_cast<uint8_t>(t), static_cast<uint8_t>(m));
  return TAMIX_OK;
}

}  // namespace tamix
HWY_AFTER_NAMESPACE();
